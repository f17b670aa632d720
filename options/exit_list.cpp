#include "options/exit_list.hpp"

#include "frame/pointer_check.hpp"
#include "values/fixed_fields.hpp"

#include <cstring>
#include <limits>
#include <memory>

namespace zeb {

namespace {

// A text that can't be read isn't known to be empty: it is refused when it is copied.
bool isEmpty(const char * text) {
    return isUsable(text, 1, modeRead) && *text == '\0';
}
bool isEmpty(const ZebStr * string) {
    return string->length() == 0;
}

// The text of an entry, null where it has none.
const char * textOf(const char * text) {
    return text;
}
const char * textOf(const ZebStr * string) {
    return string != nullptr ? string->text() : nullptr;
}

bool fill(const SlotArray & slots, std::size_t index, const char * text, ZebErr & channel) {
    return ZebStr::copy(slots.slot(index), slots.width(), text, channel, zeroPad);
}

// A failed set gives its codes to the channel.
bool take(ZebStr & string, const char * text, std::size_t width, ZebErr & channel) {
    return string.set(text, width) || failAs(channel, string);
}

// Zero bytes, so that a slot which a failure leaves unwritten reads as empty.
std::unique_ptr<char[]> newBlock(const SlotArray & slots, std::size_t count) {
    return std::make_unique<char[]>(count * slots.width());
}

} // namespace

void SlotArray::release() const noexcept {
    delete[] block;
    block = nullptr;
}

ExitList ExitList::sending(ZBCD & record) noexcept {
    return {record.sendExitCount,
            {record.sendExitNameArray, record.exitNameLength},
            {record.sendUserDataArray, record.exitUserDataLength}};
}

ExitList ExitList::receiving(ZBCD & record) noexcept {
    return {record.receiveExitCount,
            {record.receiveExitNameArray, record.exitNameLength},
            {record.receiveUserDataArray, record.exitUserDataLength}};
}

void ExitList::clear() const noexcept {
    names_.release();
    userData_.release();
    count_ = 0;
}

void ExitList::forget() const noexcept {
    names_.block = nullptr;
    userData_.block = nullptr;
    count_ = 0;
}

// Nothing is stored before both arrays are there.
void ExitList::obtain(std::size_t count) const {
    std::unique_ptr<char[]> names = newBlock(names_, count);
    std::unique_ptr<char[]> userData = newBlock(userData_, count);
    names_.block = names.release();
    userData_.block = userData.release();
    count_ = static_cast<std::int32_t>(count);
}

void ExitList::copyFrom(const ExitList & source) const {
    const std::size_t count = source.count();
    if (count == 0) {
        return;
    }
    obtain(count);
    std::memcpy(names_.block, source.names_.block, count * names_.width());
    std::memcpy(userData_.block, source.userData_.block, count * userData_.width());
}

template <class Entry>
bool ExitList::setNames(ZebErr & channel, std::size_t count, const Entry names[]) const {
    if (count != 0 && names == nullptr) {
        return report(channel, {nullptr, ZBRC_NULL_POINTER});
    }
    if (count > static_cast<std::size_t>(std::numeric_limits<std::int32_t>::max())) {
        return report(channel, {nullptr, ZBRC_DATA_LENGTH_ERROR});
    }
    for (std::size_t i = 0; i < count; ++i) {
        if (names[i] == nullptr) {
            return report(channel, {nullptr, ZBRC_NULL_POINTER});
        }
        if (isEmpty(names[i])) {
            return report(channel, {nullptr, ZBRC_DATA_LENGTH_ERROR});
        }
    }
    return replaceNames(channel, count, names);
}

template <class Entry>
bool ExitList::replaceNames(ZebErr & channel, std::size_t count, const Entry names[]) const {
    if (count != this->count()) {
        clear();
        if (count != 0) {
            obtain(count);
        }
    }
    for (std::size_t i = 0; i < count; ++i) {
        if (!fill(names_, i, textOf(names[i]), channel) || !fill(userData_, i, nullptr, channel)) {
            return false;
        }
    }
    return true;
}

bool ExitList::setName(ZebErr & channel, const char * name) const {
    const bool isNone = name == nullptr || isEmpty(name);
    return replaceNames(channel, isNone ? 0 : 1, &name);
}

template <class Entry>
bool ExitList::setUserData(ZebErr & channel, std::size_t count, const Entry data[]) const {
    if (count > this->count()) {
        return report(channel, {nullptr, ZBRC_USER_DATA_COUNT_ERROR});
    }
    for (std::size_t i = 0; i < this->count(); ++i) {
        const bool isGiven = i < count && data != nullptr;
        if (!fill(userData_, i, isGiven ? textOf(data[i]) : nullptr, channel)) {
            return false;
        }
    }
    return true;
}

ZebStr ExitList::firstName(ZebErr & channel) const {
    return first(channel, names_);
}

ZebStr ExitList::firstUserData(ZebErr & channel) const {
    return first(channel, userData_);
}

ZebStr ExitList::first(ZebErr & channel, const SlotArray & slots) const {
    ZebStr string;
    if (count() != 0) {
        take(string, slots.slot(0), slots.width(), channel);
    }
    return string;
}

bool ExitList::readNames(ZebErr & channel, std::size_t count, ZebStr * const strings[]) const {
    return read(channel, names_, count, strings);
}

bool ExitList::readUserData(ZebErr & channel, std::size_t count, ZebStr * const strings[]) const {
    return read(channel, userData_, count, strings);
}

bool ExitList::read(ZebErr & channel, const SlotArray & slots, std::size_t count,
                    ZebStr * const strings[]) const {
    if (strings == nullptr) {
        return true;
    }
    bool isRead = true;
    for (std::size_t i = 0; i < count; ++i) {
        if (strings[i] == nullptr) {
            continue;
        }
        const bool isThere = i < this->count();
        isRead &= take(*strings[i], isThere ? slots.slot(i) : nullptr, isThere ? slots.width() : 0,
                       channel);
    }
    return isRead;
}

template bool ExitList::setNames(ZebErr &, std::size_t, const char * const[]) const;
template bool ExitList::setNames(ZebErr &, std::size_t, const ZebStr * const[]) const;
template bool ExitList::setUserData(ZebErr &, std::size_t, const char * const[]) const;
template bool ExitList::setUserData(ZebErr &, std::size_t, const ZebStr * const[]) const;

} // namespace zeb
