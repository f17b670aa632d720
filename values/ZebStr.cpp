#include "ZebStr.hpp"

#include "ZebTrc.hpp"
#include "frame/pointer_check.hpp"
#include "frame/report.hpp"
#include "frame/storage.hpp"
#include "values/string_semaphore.hpp"
#include "values/text_copy.hpp"

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cstring>

namespace {

using zeb::Report;

constexpr Report noStorageToConstruct{"ZebString::ZebString (warning): storage not available",
                                      ZBRC_STORAGE_NOT_AVAILABLE, ZBCC_WARNING};
constexpr Report noStorageToSet{"ZebString::setStorage (error): storage not available",
                                ZBRC_STORAGE_NOT_AVAILABLE};
constexpr Report noStorageToPasteIn{"ZebString::pasteIn (error): storage not available",
                                    ZBRC_STORAGE_NOT_AVAILABLE};
constexpr Report nullToSet{"ZebString::set (error): null pointer", ZBRC_NULL_POINTER};
constexpr Report nullToPasteIn{"ZebString::pasteIn (error): null pointer", ZBRC_NULL_POINTER};

constexpr Report targetBufferError{"ZebString::copy (error): target buffer error",
                                   ZBRC_TARGET_BUFFER_ERROR};
constexpr Report sourceBufferError{"ZebString::copy (error): source buffer error",
                                   ZBRC_SOURCE_BUFFER_ERROR};
constexpr Report bufferError{"ZebString::copy (error): buffer error", ZBRC_BUFFER_ERROR};
constexpr Report noDestination{"static ZebString::copy (error): no destination buffer",
                               ZBRC_NULL_POINTER};
constexpr Report truncated{"static ZebString::copy (warning): string truncated",
                           ZBRC_DATA_TRUNCATED, ZBCC_WARNING};

/// The process-wide pair of codes, in one word so that nobody reads the reason of one report with
/// the completion of another.
class CopyCodes {
public:
    void store(std::int32_t reason, std::int32_t completion) noexcept {
        word_.store(static_cast<std::uint64_t>(static_cast<std::uint32_t>(reason)) << 32 |
                        static_cast<std::uint32_t>(completion),
                    std::memory_order_relaxed);
    }
    void moveTo(ZebErr & object) const noexcept {
        const std::uint64_t word = word_.load(std::memory_order_relaxed);
        zeb::CodeWriter::store(object,
                               static_cast<std::int32_t>(static_cast<std::uint32_t>(word >> 32)),
                               static_cast<std::int32_t>(static_cast<std::uint32_t>(word)));
    }

private:
    std::atomic<std::uint64_t> word_{0};
};

CopyCodes copyCodes;

bool reportTo(ZebErr * error, const Report & what) {
    if (error != nullptr) {
        return zeb::report(*error, what);
    }
    ZebTrc::traceMessage(what.message);
    copyCodes.store(what.reason, what.completion);
    return what.completion != ZBCC_FAILED;
}

} // namespace

bool zeb::reportCopy(ZebErr * error, CopyTrouble trouble) {
    switch (trouble) {
    case CopyTrouble::targetRefused:
        return reportTo(error, error != nullptr ? targetBufferError : bufferError);
    case CopyTrouble::sourceRefused:
        return reportTo(error, sourceBufferError);
    case CopyTrouble::noTarget:
        return reportTo(error, noDestination);
    case CopyTrouble::truncated:
        break;
    }
    return reportTo(error, truncated);
}

ZebStr::ZebStr() = default;

ZebStr::ZebStr(char character) {
    char * const block = zeb::obtainBlock(2);
    if (block == nullptr) {
        zeb::report(*this, noStorageToConstruct);
        return;
    }
    block[0] = character;
    block[1] = '\0';
    adopt(block, 2);
}

ZebStr::ZebStr(const char * text) {
    if (text == nullptr || *text == '\0') {
        return;
    }
    const std::size_t size = std::strlen(text) + 1;
    char * const block = zeb::obtainBlock(size);
    if (block == nullptr) {
        zeb::report(*this, noStorageToConstruct);
        return;
    }
    std::memcpy(block, text, size);
    adopt(block, size);
}

ZebStr::ZebStr(const void * bytes, std::size_t length) {
    pasteIn(bytes, length);
}

ZebStr::ZebStr(const ZebStr & source) : ZebItm(source) {
    assign(source);
}

ZebStr::~ZebStr() {
    adopt(nullptr, 0);
}

void ZebStr::operator=(const ZebStr & source) {
    if (this != &source) {
        ZebItm::operator=(source);
        assign(source);
    }
}

std::size_t ZebStr::length() const {
    return text_ != nullptr ? std::strlen(text_) : 0;
}

bool ZebStr::obtain(std::size_t size, char *& block) {
    block = zeb::obtainBlock(size);
    return block != nullptr || zeb::report(*this, noStorageToSet);
}

void ZebStr::adopt(char * block, std::size_t size) noexcept {
    zeb::releaseBlock(text_);
    text_ = block;
    storageSize_ = size;
}

bool ZebStr::setStorage(std::size_t size) {
    if (size == storageSize_) {
        return true;
    }
    if (size == 0) {
        adopt(nullptr, 0);
        return true;
    }
    char * block = nullptr;
    if (!obtain(size, block)) {
        return false;
    }
    const std::size_t carried = std::min(size, storageSize_);
    if (carried != 0) {
        std::memcpy(block, text_, carried);
    }
    std::memset(block + carried, 0, size - carried);
    if (std::memchr(block, '\0', size) == nullptr) {
        block[size - 1] = '\0';
    }
    adopt(block, size);
    return true;
}

bool ZebStr::assign(const ZebStr & source) {
    if (this == &source) {
        return true;
    }
    if (source.storageSize_ != storageSize_) {
        char * block = nullptr;
        if (source.storageSize_ != 0 && !obtain(source.storageSize_, block)) {
            return false;
        }
        adopt(block, source.storageSize_);
    }
    if (storageSize_ != 0) {
        std::memcpy(text_, source.text_, storageSize_);
    }
    return true;
}

bool ZebStr::set(const char * text, std::size_t length) {
    std::size_t end = 0;
    return take(text, length, end);
}

bool ZebStr::take(const char * text, std::size_t length, std::size_t & end) {
    end = 0;
    if (length == 0) {
        adopt(nullptr, 0);
        return true;
    }
    if (text == nullptr) {
        return zeb::report(*this, nullToSet);
    }
    if (!zeb::mayRead(*this, text, length)) {
        return false;
    }
    const void * const terminator = std::memchr(text, '\0', length);
    const std::size_t size = terminator != nullptr ? length : length + 1;
    const auto textLength =
        terminator != nullptr
            ? static_cast<std::size_t>(static_cast<const char *>(terminator) - text)
            : length;
    // The text may lie inside this string's own block, so that block goes only after the copy.
    char * block = text_;
    if (size != storageSize_ && !obtain(size, block)) {
        return false;
    }
    std::memmove(block, text, length);
    block[textLength] = '\0';
    if (block != text_) {
        adopt(block, size);
    }
    end = textLength;
    return true;
}

bool ZebStr::pasteIn(const void * bytes, std::size_t length) {
    if (length == 0) {
        return true;
    }
    if (bytes == nullptr) {
        return zeb::report(*this, nullToPasteIn);
    }
    const std::size_t present = this->length();
    if (!zeb::mayRead(*this, bytes, length)) {
        return false;
    }
    if (length > SIZE_MAX - 1 - present) {
        return zeb::report(*this, noStorageToPasteIn);
    }
    const std::size_t size = present + length + 1;
    // As in set: the bytes may lie inside this string's own block.
    char * block = text_;
    if (size != storageSize_) {
        if (!obtain(size, block)) {
            return false;
        }
        if (present != 0) {
            std::memcpy(block, text_, present);
        }
    }
    char * const added = block + present;
    std::memmove(added, bytes, length);
    std::replace(added, added + length, '\0', '.');
    added[length] = '\0';
    if (block != text_) {
        adopt(block, size);
    }
    return true;
}

bool ZebStr::copy(char * target, std::size_t width, const char * source, ZebErr & error, char pad) {
    return zeb::copyText<zeb::WidthKind::variable>(target, width, source, &error, pad);
}

bool ZebStr::copy(char * target, std::size_t width, const char * source, char pad) {
    return zeb::copyText<zeb::WidthKind::variable>(target, width, source, nullptr, pad);
}

bool ZebStr::copyOut(char * target, std::size_t width, char pad) {
    constexpr Report noLock{nullptr, ZBRC_UNEXPECTED_ERROR};
    if (!zeb::takeStringSemaphore()) {
        return zeb::report(*this, noLock);
    }
    // Cleared ahead, so that this string gets the report of this copy and not an older one.
    copyCodes.store(ZBRC_NONE, ZBCC_OK);
    const bool copied = copy(target, width, text_, pad);
    copyCodes.moveTo(*this);
    if (!zeb::giveStringSemaphore()) {
        return zeb::report(*this, noLock);
    }
    return copied;
}
