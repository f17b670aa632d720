#include "ZebDlh.hpp"
#include "ZebHih.hpp"
#include "ZebMsg.hpp"
#include "ZebRfh.hpp"
#include "ZebTih.hpp"
#include "ZebTrg.hpp"
#include "ZebWih.hpp"
#include "support/failing_allocation.hpp"
#include "support/page_end.hpp"
#include "support/recording_zbcommon.hpp"

#include <algorithm>
#include <array>
#include <cstring>
#include <limits>
#include <memory>
#include <new>
#include <random>
#include <string>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace {

using namespace std::string_literals;
using support::FailAllocations;
using support::PageEnd;
using support::Recording;
using support::Texts;

// ---- Bytes --------------------------------------------------------------------------------------

std::string word(std::int32_t value) {
    std::string bytes;
    for (unsigned shift = 0; shift < 32; shift += 8) {
        bytes += static_cast<char>(static_cast<std::uint32_t>(value) >> shift & 0xFF);
    }
    return bytes;
}

std::int32_t wordAt(const std::string & bytes, std::size_t offset) {
    std::int32_t value = 0;
    std::memcpy(&value, bytes.data() + offset, sizeof value);
    return value;
}

std::string blanks(std::size_t count) {
    return std::string(count, ' ');
}

std::string zeros(std::size_t count) {
    return std::string(count, '\0');
}

std::string with(std::string record, std::size_t offset, const std::string & bytes) {
    return record.replace(offset, bytes.size(), bytes);
}

std::string textOf(const ZebStr & text) {
    return text.text() != nullptr ? text.text() : "";
}

std::string bytesOf(const ZebBin & bytes) {
    return std::string(static_cast<const char *>(bytes.dataPointer()), bytes.dataLength());
}

const unsigned char * raw(const std::string & bytes) {
    return reinterpret_cast<const unsigned char *>(bytes.data());
}

// What a reader makes of a field.
std::string read(std::string field, bool stripped) {
    field = field.c_str();
    while (stripped && !field.empty() && field.back() == ' ') {
        field.pop_back();
    }
    return field;
}

// ---- Messages -----------------------------------------------------------------------------------

std::string dataOf(const ZebMsg & message) {
    return std::string(message.bufferPointer(), message.messageLength());
}

void fill(ZebMsg & message, const std::string & format, const std::string & data,
          std::int32_t encoding = 546, std::int32_t characterSet = 0) {
    message.setFormat(format.c_str());
    message.setEncoding(encoding);
    message.setCharacterSet(characterSet);
    message.write(data.size(), data.data());
    message.setDataOffset(0);
}

// All of a message but its codes.
std::string stateOf(const ZebMsg & message) {
    const char * descriptor = reinterpret_cast<const char *>(&message.descriptor());
    return dataOf(message) + '/' + std::to_string(message.dataOffset()) + '/' +
           std::string(descriptor, sizeof(ZBMD));
}

std::string description(const ZebMsg & message) {
    return word(message.encoding()) + word(message.characterSet()) + textOf(message.format());
}

using Codes = std::pair<std::int32_t, std::int32_t>;

Codes codesOf(const ZebErr & object) {
    return {object.reasonCode(), object.completionCode()};
}

// ---- The six classes ----------------------------------------------------------------------------

struct TextField {
    std::size_t offset, width;
    char pad;
    bool stripped;
    std::string (*get)(const ZebItm &);
    void (*set)(ZebItm &, const char *);
};

struct NumberField {
    std::size_t offset;
    std::int32_t (*get)(const ZebItm &);
    void (*set)(ZebItm &, std::int32_t);
};

struct BytesField {
    std::size_t offset, width;
    const char * wrongLength;
    std::string (*get)(const ZebItm &);
    void (*set)(ZebItm &, const unsigned char *);
    bool (*setValue)(ZebItm &, const ZebBin &);
};

struct Sibling {
    std::string name, id, format, image;
    std::unique_ptr<ZebItm> (*make)();
    std::unique_ptr<ZebItm> (*copy)(const ZebItm &);
    void (*assign)(ZebItm &, const ZebItm &);
    std::string (*imageInDirtyMemory)(const Sibling &);
    std::vector<TextField> texts;
    std::vector<NumberField> numbers;
    std::vector<BytesField> bytes;

    std::size_t length() const { return image.size(); }
    bool isHeader() const { return id != "TM  "; }
    std::size_t descriptionAt() const { return id == "DLH " ? 108 : 12; }
};

// The record's bytes. Writing takes the description of the message, so that is made equal first.
std::string imageOf(const Sibling & sibling, const ZebItm & item) {
    const auto copy = sibling.copy(item);
    ZebMsg message;
    if (const auto * header = dynamic_cast<const ZebHdr *>(copy.get())) {
        fill(message, textOf(header->format()), "", header->encoding(), header->characterSet());
    }
    EXPECT_TRUE(copy->copyOut(message));
    return dataOf(message);
}

template <class Class>
Sibling sibling(const char * name, const char * id, const char * format,
                const std::string & image) {
    Sibling row;
    row.name = name;
    row.id = id;
    row.format = format;
    row.image = id + image;
    row.make = []() -> std::unique_ptr<ZebItm> { return std::make_unique<Class>(); };
    row.copy = [](const ZebItm & source) -> std::unique_ptr<ZebItm> {
        return std::make_unique<Class>(dynamic_cast<const Class &>(source));
    };
    row.assign = [](ZebItm & target, const ZebItm & source) {
        dynamic_cast<Class &>(target) = dynamic_cast<const Class &>(source);
    };
    row.imageInDirtyMemory = [](const Sibling & self) {
        alignas(Class) unsigned char memory[sizeof(Class)];
        std::fill(std::begin(memory), std::end(memory), static_cast<unsigned char>(0xA5));
        auto * item = ::new (memory) Class;
        const std::string found = imageOf(self, *item);
        item->~Class();
        return found;
    };
    return row;
}

constexpr bool kept = false, stripped = true;

template <class Class, ZebStr (Class::*Get)() const, auto Set = nullptr>
TextField text(std::size_t offset, std::size_t width, char pad, bool strip) {
    TextField field{offset, width, pad, strip, nullptr, nullptr};
    field.get = [](const ZebItm & item) {
        return textOf((dynamic_cast<const Class &>(item).*Get)());
    };
    if constexpr (!std::is_null_pointer_v<decltype(Set)>) {
        field.set = [](ZebItm & item, const char * value) {
            (dynamic_cast<Class &>(item).*Set)(value);
        };
    }
    return field;
}

template <class Class, std::int32_t (Class::*Get)() const, auto Set = nullptr>
NumberField number(std::size_t offset) {
    NumberField field{offset, nullptr, nullptr};
    field.get = [](const ZebItm & item) { return (dynamic_cast<const Class &>(item).*Get)(); };
    if constexpr (!std::is_null_pointer_v<decltype(Set)>) {
        field.set = [](ZebItm & item, std::int32_t value) {
            (dynamic_cast<Class &>(item).*Set)(value);
        };
    }
    return field;
}

template <class Class, ZebBin (Class::*Get)() const, void (Class::*Set)(const unsigned char *)>
BytesField bytes(std::size_t offset, std::size_t width) {
    BytesField field{offset, width, nullptr, nullptr, nullptr, nullptr};
    field.get = [](const ZebItm & item) {
        return bytesOf((dynamic_cast<const Class &>(item).*Get)());
    };
    field.set = [](ZebItm & item, const unsigned char * value) {
        (dynamic_cast<Class &>(item).*Set)(value);
    };
    return field;
}

template <class Class, ZebBin (Class::*Get)() const, void (Class::*Set)(const unsigned char *),
          bool (Class::*SetValue)(const ZebBin &)>
BytesField bytes(std::size_t offset, std::size_t width, const char * wrongLength) {
    BytesField field = bytes<Class, Get, Set>(offset, width);
    field.wrongLength = wrongLength;
    field.setValue = [](ZebItm & item, const ZebBin & value) {
        return (dynamic_cast<Class &>(item).*SetValue)(value);
    };
    return field;
}

// The fields that describe what follows: they stand together in every header.
template <class Class> void addDescription(Sibling & row) {
    const std::size_t at = row.descriptionAt();
    row.numbers.push_back(number<Class, &Class::encoding, &Class::setEncoding>(at));
    row.numbers.push_back(number<Class, &Class::characterSet, &Class::setCharacterSet>(at + 4));
    row.texts.push_back(text<Class, &Class::format, &Class::setFormat>(at + 8, 8, ' ', kept));
}

std::string lengthsAndOffsets(const std::array<std::int32_t, 8> & words) {
    std::string bytes;
    for (const std::int32_t value : words) {
        bytes += word(value);
    }
    return bytes;
}

std::vector<Sibling> makeSiblings() {
    const std::string described = word(546) + word(0) + blanks(8);
    std::vector<Sibling> rows;

    rows.push_back(sibling<ZebDlh>("ZebDeadLetterHeader", "DLH ", "ZBDEAD  ",
                                   word(1) + zeros(100) + described + zeros(48)));
    using D = ZebDlh;
    rows.back().texts = {
        text<D, &D::destinationQueueName, &D::setDestinationQueueName>(12, 48, '\0', stripped),
        text<D, &D::destinationQueueManagerName, &D::setDestinationQueueManagerName>(60, 48, '\0',
                                                                                     stripped),
        text<D, &D::putApplicationName, &D::setPutApplicationName>(128, 28, '\0', stripped),
        text<D, &D::putDate, &D::setPutDate>(156, 8, '\0', stripped),
        text<D, &D::putTime, &D::setPutTime>(164, 8, '\0', stripped),
    };
    rows.back().numbers = {
        number<D, &D::deadLetterWord8, &D::setDeadLetterWord8>(8),
        number<D, &D::deadLetterWord124, &D::setDeadLetterWord124>(124),
    };
    addDescription<D>(rows.back());

    rows.push_back(sibling<ZebTih>("ZebTPMXBridgeHeader", "TIH ", "ZBTPMX  ",
                                   word(2) + word(180) + described + zeros(16) + word(273) +
                                       word(-2) + word(1) + word(-1) + zeros(24) + blanks(80) +
                                       zeros(16)));
    using T = ZebTih;
    rows.back().texts = {
        text<T, &T::replyToFormat, &T::setReplyToFormat>(108, 8, ' ', kept),
        text<T, &T::authenticator, &T::setAuthenticator>(92, 8, ' ', kept),
        text<T, &T::transactionIdentifier, &T::setTransactionIdentifier>(124, 4, ' ', kept),
        text<T, &T::facilityLike, &T::setFacilityLike>(128, 4, ' ', kept),
        text<T, &T::attentionIdentifier, &T::setAttentionIdentifier>(132, 4, ' ', kept),
        text<T, &T::startCode, &T::setStartCode>(136, 4, ' ', kept),
        text<T, &T::bridgeCancelCode, &T::setBridgeCancelCode>(140, 4, ' ', kept),
        text<T, &T::function>(84, 4, ' ', kept),
        text<T, &T::bridgeAbendCode>(88, 4, ' ', kept),
        text<T, &T::nextTransactionIdentifier>(144, 4, ' ', kept),
        text<T, &T::spareText1, &T::setSpareText1>(100, 8, ' ', kept),
        text<T, &T::spareText2, &T::setSpareText2>(116, 4, ' ', kept),
        text<T, &T::spareText3, &T::setSpareText3>(120, 4, ' ', kept),
        text<T, &T::spareText4, &T::setSpareText4>(148, 8, ' ', kept),
        text<T, &T::spareText5, &T::setSpareText5>(156, 8, ' ', kept),
    };
    rows.back().numbers = {
        number<T, &T::headerFlags, &T::setHeaderFlags>(28),
        number<T, &T::bridgeReturnCode>(32),
        number<T, &T::bridgeCompletionCode>(36),
        number<T, &T::bridgeReasonCode>(40),
        number<T, &T::UOWControl, &T::setUOWControl>(44),
        number<T, &T::getWaitInterval, &T::setGetWaitInterval>(48),
        number<T, &T::linkType, &T::setLinkType>(52),
        number<T, &T::outputDataLength, &T::setOutputDataLength>(56),
        number<T, &T::facilityKeepTime, &T::setFacilityKeepTime>(60),
        number<T, &T::ADSDescriptor, &T::setADSDescriptor>(64),
        number<T, &T::conversationalTask, &T::setConversationalTask>(68),
        number<T, &T::taskEndStatus>(72),
        number<T, &T::cursorPosition, &T::setCursorPosition>(164),
        number<T, &T::bridgeErrorOffset>(168),
        number<T, &T::spareWord1, &T::setSpareWord1>(172),
        number<T, &T::spareWord2, &T::setSpareWord2>(176),
    };
    addDescription<T>(rows.back());
    rows.back().bytes = {bytes<T, &T::facilityToken, &T::setFacilityToken, &T::setFacilityToken>(
        76, 8, "ZebTPMXBridgeHeader::setFacilityToken (error): binary data length error\n")};

    rows.push_back(sibling<ZebHih>("ZebHSXBridgeHeader", "HIH ", "ZBHSX   ",
                                   word(1) + word(84) + described + word(0) + blanks(32) +
                                       zeros(16) + " 0C "));
    using H = ZebHih;
    rows.back().texts = {
        text<H, &H::replyToFormat, &H::setReplyToFormat>(48, 8, ' ', kept),
        text<H, &H::authenticator, &H::setAuthenticator>(56, 8, '\0', kept),
        text<H, &H::logicalTerminalOverride, &H::setLogicalTerminalOverride>(32, 8, '\0', stripped),
        text<H, &H::messageFormatServicesMapName, &H::setMessageFormatServicesMapName>(40, 8, '\0',
                                                                                       stripped),
    };
    rows.back().numbers = {number<H, &H::headerFlags, &H::setHeaderFlags>(28)};
    addDescription<H>(rows.back());
    rows.back().bytes = {bytes<H, &H::transactionInstanceId, &H::setTransactionInstanceId,
                               &H::setTransactionInstanceId>(
        64, 16, "ZebHSXBridgeHeader::setTransactionInstanceId (error): binary data length error")};

    rows.push_back(
        sibling<ZebWih>("ZebWorkHeader", "WIH ", "ZBHWIH  ",
                        word(1) + word(120) + described + word(0) + blanks(40) + zeros(48)));
    using W = ZebWih;
    rows.back().texts = {
        text<W, &W::serviceName, &W::setServiceName>(32, 32, ' ', kept),
        text<W, &W::serviceStep, &W::setServiceStep>(64, 8, ' ', kept),
    };
    rows.back().numbers = {number<W, &W::headerFlags, &W::setHeaderFlags>(28)};
    addDescription<W>(rows.back());
    rows.back().bytes = {
        bytes<W, &W::messageToken, &W::setMessageToken, &W::setMessageToken>(
            72, 16, "ZebWorkHeader::setMessageToken (error): binary data length error\n"),
        bytes<W, &W::spareArea, &W::setSpareArea>(88, 32),
    };

    rows.push_back(sibling<ZebRfh>("ZebReferenceHeader", "RMH ", "ZBHREF  ",
                                   word(1) + word(108) + described + word(1) + zeros(32) +
                                       lengthsAndOffsets({0, 108, 0, 108, 0, 108, 0, 108}) +
                                       zeros(12)));
    using R = ZebRfh;
    rows.back().texts = {
        text<R, &R::referenceType, &R::setReferenceType>(32, 8, '\0', stripped),
    };
    rows.back().numbers = {
        number<R, &R::headerFlags, &R::setHeaderFlags>(28),
        number<R, &R::tailWord1, &R::setTailWord1>(96),
        number<R, &R::tailWord2, &R::setTailWord2>(100),
        number<R, &R::tailWord3, &R::setTailWord3>(104),
    };
    addDescription<R>(rows.back());
    rows.back().bytes = {bytes<R, &R::instanceId, &R::setInstanceId, &R::setInstanceId>(
        40, 24, "ZebReferenceHeader::setInstanceId (error): binary data length error")};

    rows.push_back(sibling<ZebTrg>("ZebTrigger", "TM  ", "ZBTRIG  ", word(1) + zeros(676)));
    using G = ZebTrg;
    rows.back().texts = {
        text<G, &G::queueName, &G::setQueueName>(8, 48, '\0', stripped),
        text<G, &G::processName, &G::setProcessName>(56, 48, '\0', stripped),
        text<G, &G::triggerData, &G::setTriggerData>(104, 64, '\0', stripped),
        text<G, &G::applicationId, &G::setApplicationId>(172, 256, '\0', stripped),
        text<G, &G::environmentData, &G::setEnvironmentData>(428, 128, '\0', stripped),
        text<G, &G::userData, &G::setUserData>(556, 128, '\0', stripped),
    };
    rows.back().numbers = {number<G, &G::triggerWord168, &G::setTriggerWord168>(168)};
    return rows;
}

const std::vector<Sibling> siblings = makeSiblings();
const Sibling &tih = siblings[1], &rfh = siblings[4], &trg = siblings[5];

struct Texts4 {
    std::string sourceEnvironment, sourceName, destinationEnvironment, destinationName;
    bool operator==(const Texts4 &) const = default;
};

Texts4 textsOf(const ZebRfh & header) {
    return {textOf(header.sourceEnvironment()), textOf(header.sourceName()),
            textOf(header.destinationEnvironment()), textOf(header.destinationName())};
}

void setTexts(ZebRfh & header, const Texts4 & texts) {
    header.setSourceEnvironment(texts.sourceEnvironment.c_str());
    header.setSourceName(texts.sourceName.c_str());
    header.setDestinationEnvironment(texts.destinationEnvironment.c_str());
    header.setDestinationName(texts.destinationName.c_str());
}

// Everything that has a setter, set to a pattern of its own.
void dress(const Sibling & sibling, ZebItm & item) {
    char letter = 'a';
    for (const TextField & field : sibling.texts) {
        if (field.set != nullptr) {
            field.set(item, std::string(field.width - 1, letter++).c_str());
        }
    }
    std::int32_t value = 1000;
    for (const NumberField & field : sibling.numbers) {
        if (field.set != nullptr) {
            field.set(item, value++);
        }
    }
    for (const BytesField & field : sibling.bytes) {
        field.set(item, raw(std::string(field.width, letter++)));
    }
    if (auto * header = dynamic_cast<ZebRfh *>(&item)) {
        setTexts(*header, {"source", "s", "", "destination"});
    }
}

// ---- Records and accessors ----------------------------------------------------------------------

TEST(Records, DefaultImagesAndCopies) {
    for (const Sibling & s : siblings) {
        SCOPED_TRACE(s.name);
        EXPECT_EQ(s.imageInDirtyMemory(s), s.image);

        const auto item = s.make();
        dress(s, *item);
        const std::string dressed = imageOf(s, *item);
        EXPECT_NE(dressed, s.image);
        ZebMsg message;
        fill(message, s.format, "none");
        EXPECT_FALSE(item->pasteIn(message)); // for its codes, which travel with copies

        const auto copy = s.copy(*item);
        const auto target = s.make();
        s.assign(*target, *item);
        dress(s, *item);
        s.assign(*item, *item);
        for (const ZebItm * each : {item.get(), copy.get(), target.get()}) {
            EXPECT_EQ(imageOf(s, *each), dressed);
            EXPECT_EQ(codesOf(*each), Codes(ZBRC_STRUCTURE_ID_ERROR, ZBCC_FAILED));
        }
    }
}

TEST(Records, TextFields) {
    for (const Sibling & s : siblings) {
        for (const TextField & field : s.texts) {
            SCOPED_TRACE(s.name + " at " + std::to_string(field.offset));
            const std::string full(field.width, 'x');
            for (const std::string & value : {""s, "ab"s, " a "s, full, full + 'y'}) {
                if (field.set == nullptr) {
                    break;
                }
                const auto item = s.make();
                field.set(*item, value.c_str());
                std::string expected = value.substr(0, field.width);
                expected.resize(field.width, field.pad);
                EXPECT_EQ(imageOf(s, *item), with(s.image, field.offset, expected));
                EXPECT_EQ(field.get(*item), read(expected, field.stripped));
                EXPECT_EQ(codesOf(*item), Codes(0, 0));

                field.set(*item, nullptr);
                const std::string padded(field.width, field.pad);
                EXPECT_EQ(imageOf(s, *item), with(s.image, field.offset, padded));
            }
            for (const std::string & value : {full, "q  "s, "q\0z "s, blanks(3), "\0zz"s}) {
                std::string received = value;
                received.resize(field.width, ' ');
                const auto item = s.make();
                ZebMsg message;
                fill(message, s.format, with(s.image, field.offset, received));
                EXPECT_TRUE(item->pasteIn(message));
                EXPECT_EQ(field.get(*item), read(received, field.stripped));
            }
        }
    }
}

TEST(Records, NumberFields) {
    for (const Sibling & s : siblings) {
        for (const NumberField & field : s.numbers) {
            SCOPED_TRACE(s.name + " at " + std::to_string(field.offset));
            const std::int32_t value = -0x12345678;
            const std::string expected = with(s.image, field.offset, word(value));
            const auto received = s.make();
            ZebMsg message;
            fill(message, s.format, expected);
            EXPECT_TRUE(received->pasteIn(message));
            EXPECT_EQ(field.get(*received), value);
            EXPECT_EQ(imageOf(s, *received), expected);
            if (field.set != nullptr) {
                const auto item = s.make();
                field.set(*item, value);
                EXPECT_EQ(field.get(*item), value);
                EXPECT_EQ(imageOf(s, *item), expected);
            }
        }
    }
}

TEST(Records, BytesFields) {
    for (const Sibling & s : siblings) {
        for (const BytesField & field : s.bytes) {
            SCOPED_TRACE(s.name + " at " + std::to_string(field.offset));
            const auto item = s.make();
            EXPECT_EQ(field.get(*item), zeros(field.width));
            std::string value(field.width, '\xF0');
            value[1] = '\0';
            field.set(*item, raw(value));
            EXPECT_EQ(field.get(*item), value);
            EXPECT_EQ(imageOf(s, *item), with(s.image, field.offset, value));
            field.set(*item, nullptr);
            EXPECT_EQ(field.get(*item), zeros(field.width));
            if (field.setValue == nullptr) {
                continue;
            }
            EXPECT_TRUE(field.setValue(*item, ZebBin(value.data(), field.width)));
            EXPECT_EQ(codesOf(*item), Codes(0, 0));
            const std::string longer = value + 'x';
            for (const std::size_t length : {field.width - 1, field.width + 1}) {
                const ZebBin wrong(longer.data(), length);
                item->clearErrorCodes();
                Recording recording;
                FailAllocations noStorage(1, FailAllocations::fromThere);
                const bool result = field.setValue(*item, wrong);
                noStorage.stop();
                EXPECT_FALSE(result);
                EXPECT_EQ(recording.texts(), Texts{field.wrongLength});
                EXPECT_EQ(codesOf(*item), Codes(ZBRC_BINARY_DATA_LENGTH_ERROR, ZBCC_FAILED));
            }
            EXPECT_EQ(field.get(*item), value);
            EXPECT_TRUE(field.setValue(*item, ZebBin()));
            EXPECT_EQ(field.get(*item), zeros(field.width));
            EXPECT_EQ(codesOf(*item), Codes(ZBRC_BINARY_DATA_LENGTH_ERROR, ZBCC_FAILED));
        }
    }
}

TEST(Records, TailBytes) {
    ZebHih header;
    EXPECT_EQ(header.tailByte1(), ' ');
    EXPECT_EQ(header.tailByte2(), '0');
    EXPECT_EQ(header.tailByte3(), 'C');
    EXPECT_EQ(header.tailByte4(), ' ');
    header.setTailByte1('w');
    header.setTailByte2('x');
    header.setTailByte3('y');
    header.setTailByte4('\xFF');
    EXPECT_EQ(imageOf(siblings[2], header), with(siblings[2].image, 80, "wxy\xFF"));
}

// ---- Reading ------------------------------------------------------------------------------------

TEST(Reading, TestsComeInOrderAndChangeNothing) {
    for (const Sibling & s : siblings) {
        for (unsigned wrong = 0; wrong < 8; ++wrong) {
            SCOPED_TRACE(s.name + " " + std::to_string(wrong));
            const bool wrongId = wrong & 1, wrongEncoding = wrong & 2, wrongFormat = wrong & 4;
            const auto item = s.make(), writer = s.make();
            dress(s, *writer);
            const std::string dressed = imageOf(s, *writer);
            ZebMsg message;
            fill(message, wrongFormat ? s.format.substr(0, 7) + "x" : s.format,
                 "front" + (wrongId ? with(dressed, 3, "x") : dressed) + "body",
                 wrongEncoding ? 273 : 546, 1208);
            message.setDataOffset(5);
            const std::string before = stateOf(message);

            Recording recording;
            const bool result = item->pasteIn(message);
            Texts texts;
            std::int32_t reason = 0;
            if (wrongId) {
                texts = {"ZebItem::structureIdIs (information): structure id is not equal",
                         s.name + "::pasteIn (error): wrong structure id"};
                reason = 6107;
            } else if (wrongEncoding) {
                texts = {s.name + "::pasteIn (error): wrong message encoding"};
                reason = 6106;
            } else if (wrongFormat) {
                texts = {s.name + "::pasteIn (error): wrong message format"};
                reason = 6119;
            }
            EXPECT_EQ(recording.texts(), texts);
            EXPECT_EQ(result, wrong == 0);
            EXPECT_EQ(codesOf(*item), Codes(reason, wrong != 0 ? 2 : 0));
            EXPECT_EQ(codesOf(message), Codes(0, 0));
            EXPECT_EQ(imageOf(s, *item), wrong == 0 ? dressed : s.image);
            if (wrong != 0) {
                EXPECT_EQ(stateOf(message), before);
            } else {
                EXPECT_EQ(message.dataOffset(), 5 + dressed.size());
                EXPECT_EQ(description(message), s.isHeader() ? dressed.substr(s.descriptionAt(), 16)
                                                             : word(546) + word(1208) + s.format);
            }
        }
    }
}

TEST(Reading, ShortDataOfEveryLength) {
    for (const Sibling & s : siblings) {
        const auto item = s.make();
        dress(s, *item);
        const std::string dressed = imageOf(s, *item);
        for (std::size_t length = 0; length < s.length(); ++length) {
            SCOPED_TRACE(s.name + " " + std::to_string(length));
            const PageEnd data("front" + s.image.substr(0, length));
            ZebMsg message;
            fill(message, s.format, "");
            message.useFullBuffer(data.data(), data.size());
            message.setDataOffset(5);
            const std::string before = stateOf(message);

            Recording recording;
            EXPECT_FALSE(item->pasteIn(message));
            if (length < 4) {
                EXPECT_EQ(recording.texts().back(),
                          s.name + "::pasteIn (error): wrong structure id");
                EXPECT_EQ(codesOf(*item), Codes(6107, 2));
            } else {
                const bool own = &s == &rfh;
                EXPECT_EQ(recording.texts(), Texts{(own ? s.name + "::pasteIn" : "ZebCache::read") +
                                                   " (error): insufficient data"});
                EXPECT_EQ(codesOf(*item), Codes(6114, 2));
                EXPECT_EQ(codesOf(message), own ? Codes(0, 0) : Codes(6114, 2));
            }
            // The one header that is read in two steps keeps the cursor behind the first.
            EXPECT_EQ(message.dataOffset(), &s == &tih && length >= 4 ? 9 : 5);
            message.setDataOffset(5);
            EXPECT_EQ(stateOf(message), before);
            EXPECT_EQ(imageOf(s, *item), dressed);
        }
    }
}

TEST(Reading, DescriptionIsHandedOnWithoutStorage) {
    for (const Sibling & s : siblings) {
        if (!s.isHeader()) {
            continue;
        }
        SCOPED_TRACE(s.name);
        const std::string handed = word(273) + word(-1) + "NEXT FMT";
        ZebMsg message;
        fill(message, s.format, with(s.image, s.descriptionAt(), handed));
        const auto item = s.make();
        FailAllocations noStorage(1, FailAllocations::fromThere);
        const bool result = item->pasteIn(message);
        noStorage.stop();
        EXPECT_TRUE(result);
        EXPECT_EQ(description(message), handed);
        EXPECT_EQ(codesOf(*item), Codes(0, 0));
    }
}

// ---- Writing ------------------------------------------------------------------------------------

// A message of these data with a description of its own, and its description.
std::string fillDescribed(ZebMsg & message, const std::string & data) {
    fill(message, "OLD", data, 273, 1208);
    return word(273) + word(1208) + "OLD     ";
}

TEST(Writing, HeaderGoesInFrontAndTriggerInPlace) {
    for (const Sibling & s : siblings) {
        SCOPED_TRACE(s.name);
        const auto item = s.make();
        ZebMsg message;
        const std::string former = fillDescribed(message, "0123456789");
        message.setDataOffset(4);
        Recording recording;
        EXPECT_TRUE(item->copyOut(message));
        EXPECT_EQ(recording.texts(), Texts{});
        EXPECT_EQ(dataOf(message),
                  s.isHeader() ? with(s.image, s.descriptionAt(), former) + "0123456789" : s.image);
        EXPECT_EQ(message.dataOffset(), message.messageLength());
        EXPECT_EQ(description(message), word(546) + word(0) + s.format);
    }
}

TEST(Writing, NoRoomForTheRecord) {
    for (const Sibling & s : siblings) {
        SCOPED_TRACE(s.name);
        std::string buffer(s.length() + 1, '#');
        ZebMsg message;
        message.useEmptyBuffer(buffer.data(), buffer.size());
        const std::string former = fillDescribed(message, "0123");
        message.setDataOffset(2); // one byte too far
        const std::string before = stateOf(message);
        const auto item = s.make();
        dress(s, *item);
        const std::string dressed = imageOf(s, *item);
        if (!s.isHeader()) { // replaces, so the cursor does not count
            buffer.resize(s.length() - 1);
            message.useFullBuffer(buffer.data(), buffer.size());
        }

        Recording recording;
        EXPECT_FALSE(item->copyOut(message));
        EXPECT_EQ(recording.texts(), Texts{"ZebCache::moreBytes (error): insufficient buffer"});
        EXPECT_EQ(codesOf(*item), Codes(6113, 2));
        EXPECT_EQ(codesOf(message), Codes(6113, 2));
        EXPECT_EQ(imageOf(s, *item), dressed);
        if (s.isHeader()) {
            EXPECT_EQ(stateOf(message), before);
        } else {
            EXPECT_EQ(message.messageLength(), 0);
            EXPECT_EQ(description(message), former);
        }
    }
}

TEST(Writing, NoRoomForTheBody) {
    for (const Sibling & s : siblings) {
        if (!s.isHeader()) {
            continue;
        }
        SCOPED_TRACE(s.name);
        std::string buffer(s.length() + 9, '#');
        ZebMsg message;
        message.useEmptyBuffer(buffer.data(), buffer.size());
        const std::string former = fillDescribed(message, "0123456789");
        const auto item = s.make();
        Recording recording;
        EXPECT_FALSE(item->copyOut(message));
        EXPECT_EQ(recording.texts(), Texts{"ZebCache::moreBytes (error): insufficient buffer"});
        EXPECT_EQ(codesOf(*item), Codes(6113, 2));
        const std::string written = with(s.image, s.descriptionAt(), former);
        EXPECT_EQ(dataOf(message), written);
        EXPECT_EQ(message.dataOffset(), s.length());
        EXPECT_EQ(description(message), word(546) + word(0) + s.format);
        EXPECT_EQ(imageOf(s, *item), written);
    }
}

TEST(Writing, RefusedWriteLeavesTheNewDescription) {
    for (const Sibling & s : siblings) {
        SCOPED_TRACE(s.name);
        ZebMsg message;
        message.resizeBuffer(2000);
        const std::string former = fillDescribed(message, "0123");
        const auto item = s.make();
        Recording recording;
        recording.refuseAddress(message.bufferPointer());
        EXPECT_FALSE(item->copyOut(message));
        EXPECT_EQ(recording.texts(), Texts{"ZebError::checkWritePointer (error): buffer error"});
        EXPECT_EQ(codesOf(*item), Codes(2004, 2));
        EXPECT_EQ(message.messageLength(), 0);
        EXPECT_EQ(description(message), word(546) + word(0) + s.format);
        recording.refuseAddress(nullptr);
        EXPECT_EQ(imageOf(s, *item),
                  s.isHeader() ? with(s.image, s.descriptionAt(), former) : s.image);
    }
}

TEST(Writing, WithoutStorageNothingChanges) {
    for (const Sibling & s : siblings) {
        SCOPED_TRACE(s.name);
        const auto item = s.make();
        dress(s, *item);
        const std::string dressed = imageOf(s, *item);
        for (std::size_t n = 1;; ++n) {
            ZebMsg message;
            const std::string former = fillDescribed(message, std::string(300, 'b'));
            const std::string before = stateOf(message);
            item->clearErrorCodes();
            Recording recording;
            FailAllocations noStorage(n);
            const bool result = item->copyOut(message);
            noStorage.stop();
            if (!noStorage.failed()) {
                EXPECT_TRUE(result);
                EXPECT_GT(n, 1);
                break;
            }
            EXPECT_FALSE(result);
            EXPECT_EQ(recording.texts(),
                      Texts{"ZebCache::resizeBuffer (error): storage not available"});
            EXPECT_EQ(codesOf(*item), Codes(2071, 2));
            EXPECT_EQ(codesOf(message), Codes(2071, 2));
            EXPECT_EQ(imageOf(s, *item), dressed);
            EXPECT_EQ(s.isHeader() ? stateOf(message) : description(message),
                      s.isHeader() ? before : former);
        }
    }
}

TEST(Writing, ChainsInEveryOrder) {
    std::array<std::size_t, 5> order{0, 1, 2, 3, 4};
    do {
        ZebMsg message;
        std::string described = fillDescribed(message, "body"), expected = "body";
        const std::string former = described;
        for (const std::size_t index : order) {
            const Sibling & s = siblings[index];
            const auto item = s.make();
            ASSERT_TRUE(message.writeItem(*item));
            expected = with(s.image, s.descriptionAt(), described) + expected;
            described = word(546) + word(0) + s.format;
        }
        ASSERT_EQ(dataOf(message), expected);
        message.setDataOffset(0);
        std::size_t cursor = 0;
        for (auto index = order.rbegin(); index != order.rend(); ++index) {
            const Sibling & s = siblings[*index];
            ASSERT_EQ(description(message), word(546) + word(0) + s.format);
            ASSERT_TRUE(message.readItem(*s.make()));
            ASSERT_EQ(message.dataOffset(), cursor += s.length());
        }
        ASSERT_EQ(description(message), former);
        ASSERT_EQ(message.dataLength(), 4);
    } while (std::next_permutation(order.begin(), order.end()));
}

// A header of an application's own kind: the protocol goes through the virtual operations.
struct Spy : ZebDlh {
    mutable std::string calls;

    std::int32_t characterSet() const override { return calls += "c", ZebDlh::characterSet(); }
    std::int32_t encoding() const override { return calls += "e", ZebDlh::encoding(); }
    ZebStr format() const override { return calls += "f", ZebDlh::format(); }
    std::int32_t headerFlags() const override { return 77; }
    void setCharacterSet(std::int32_t value) override {
        calls += 'C';
        ZebDlh::setCharacterSet(value);
    }
    void setEncoding(std::int32_t value) override {
        calls += 'E';
        ZebDlh::setEncoding(value);
    }
    void setFormat(const char * value) override {
        calls += "F:"s + value + ':';
        ZebDlh::setFormat(value);
    }
};

TEST(Writing, DescriptionPassesThroughTheVirtualOperations) {
    Spy spy;
    ZebMsg message;
    fillDescribed(message, "");
    EXPECT_TRUE(spy.copyOut(message));
    EXPECT_EQ(spy.calls, "ECF:OLD     :");
    spy.calls.clear();
    message.setDataOffset(0);
    EXPECT_TRUE(spy.pasteIn(message));
    EXPECT_EQ(spy.calls, "ecf");
    // Flags that no record holds still travel with an assignment, and with nothing else.
    ZebDlh plain;
    plain = spy;
    EXPECT_EQ(plain.headerFlags(), 77);
    plain.setHeaderFlags(5);
    message.clearMessage();
    fill(message, "ZBDEAD", siblings[0].image);
    EXPECT_TRUE(plain.pasteIn(message));
    EXPECT_EQ(plain.headerFlags(), 5);
}

// ---- The two versions of the TPMX bridge header -------------------------------------------------

TEST(Tih, VersionsOutsideAreRefusedInSilence) {
    ZebTih header;
    Recording recording;
    for (const std::int32_t version : {0, 3, -1}) {
        header.clearErrorCodes();
        EXPECT_FALSE(header.setVersion(version));
        EXPECT_EQ(codesOf(header), Codes(ZBRC_WRONG_VERSION, ZBCC_FAILED));
        EXPECT_EQ(header.version(), 2);

        ZebMsg message;
        fill(message, tih.format, "front" + with(tih.image, 4, word(version)));
        message.setDataOffset(5);
        const std::string before = stateOf(message);
        ZebTih reader;
        reader.setVersion(1);
        EXPECT_FALSE(message.readItem(reader));
        EXPECT_EQ(codesOf(message), Codes(ZBRC_WRONG_VERSION, ZBCC_FAILED));
        EXPECT_EQ(stateOf(message), before);
        EXPECT_EQ(reader.version(), 1);
    }
    EXPECT_TRUE(header.setVersion(1));
    EXPECT_TRUE(header.setVersion(2));
    EXPECT_EQ(recording.texts(), Texts{});
}

TEST(Tih, TailStaysInTheObjectUnderVersion1) {
    ZebTih header;
    header.setCursorPosition(7);
    header.setVersion(1);
    header.setSpareWord2(8);
    const std::string tail = word(7) + word(0) + word(0) + word(8);
    const std::string first = with(with(tih.image, 4, word(1)), 8, word(164)).substr(0, 164);
    EXPECT_EQ(imageOf(tih, header), first);
    // Copies have the tail, and the written length follows the version back.
    ZebTih copy(header), assigned;
    assigned = header;
    for (ZebTih * each : {&header, &copy, &assigned}) {
        each->setVersion(2);
        EXPECT_EQ(imageOf(tih, *each), with(tih.image, 164, tail));
    }
    // Records of either version into one object; version 1 leaves its tail.
    const std::string second = with(tih.image, 164, word(99));
    for (const auto & [record, version, cursorPosition] :
         {std::tuple(first, 1, 7), std::tuple(second, 2, 99), std::tuple(first, 1, 99)}) {
        ZebMsg message;
        fill(message, tih.format, record + "body");
        EXPECT_TRUE(header.pasteIn(message));
        EXPECT_EQ(message.dataOffset(), record.size());
        EXPECT_EQ(header.version(), version);
        EXPECT_EQ(header.cursorPosition(), cursorPosition);
    }
}

TEST(Tih, ConstructorsPassOnWantOfStorage) {
    const ZebTih source;
    const std::ptrdiff_t before = support::liveBlocks();
    for (int copies = 0; copies < 2; ++copies) {
        bool thrown = false;
        {
            FailAllocations noStorage(1);
            try {
                copies == 0 ? ZebTih() : ZebTih(source);
            } catch (const std::bad_alloc &) {
                thrown = true;
            }
        }
        EXPECT_TRUE(thrown);
        EXPECT_EQ(support::liveBlocks(), before);
    }
}

// ---- The texts of the reference header ----------------------------------------------------------

// A record of these lengths and offsets, in the order of the record.
std::string reference(std::int32_t structureLength, const std::array<std::int32_t, 8> & fields) {
    return with(with(rfh.image, 8, word(structureLength)), 64, lengthsAndOffsets(fields));
}

TEST(Rfh, TextsAreLaidBehindTheRecord) {
    ZebRfh header;
    setTexts(header, {"ab", "cde", "", "f"});
    const std::string expected = reference(114, {2, 108, 3, 110, 0, 113, 1, 113}) + "abcdef";
    EXPECT_EQ(imageOf(rfh, header), expected);
    ZebMsg message;
    fill(message, rfh.format, expected + "body");
    ZebRfh reader;
    reader.setDestinationEnvironment("kept");
    EXPECT_TRUE(reader.pasteIn(message));
    EXPECT_EQ(message.dataOffset(), 114);
    EXPECT_EQ(textsOf(reader), (Texts4{"ab", "cde", "kept", "f"}));
    header.setSourceName(nullptr);
    EXPECT_EQ(textsOf(header), (Texts4{"ab", "", "", "f"}));
    EXPECT_EQ(imageOf(rfh, header), reference(111, {2, 108, 0, 110, 0, 110, 1, 110}) + "abf");
}

struct HostileRecord {
    const char * what;
    std::int32_t structureLength;
    std::array<std::int32_t, 8> fields; // of 118 bytes of data, the last 10 being "0123456789"
    std::int32_t reason;
    Texts4 texts; // of an object that held "A", "B", "C", "D"
};

constexpr std::int32_t most = std::numeric_limits<std::int32_t>::max();
constexpr std::int32_t least = std::numeric_limits<std::int32_t>::min();

const HostileRecord hostileRecords[] = {
    {"out of order, with gaps", 118, {2, 115, 1, 109, 1, 117, 1, 108}, 0, {"78", "1", "9", "0"}},
    {"overlapping",
     118,
     {10, 108, 5, 110, 5, 113, 1, 117},
     0,
     {"0123456789", "23456", "56789", "9"}},
    {"in the fixed part", 108, {4, 0, 2, 106, 0, 0, -1, -1}, 0, {"RMH ", "", "C", "D"}},
    {"lengths below zero", 108, {-1, 108, least, most, 0, least, -9, 9}, 0, {"A", "B", "C", "D"}},
    {"gap at the end", 117, {1, 108, 0, 0, 0, 0, 0, 0}, 0, {"0", "B", "C", "D"}},
    {"one byte too far", 118, {1, 118, 1, 117, 11, 108, 1, 108}, 6114, {"A", "9", "C", "0"}},
    {"offset below zero", 118, {1, -1, 1, 108, 120, -2, 1, least}, 6114, {"A", "0", "C", "D"}},
    {"sum beyond 32 bits", 118, {most, most, 1, most, most, 1, 1, 109}, 6114, {"A", "B", "C", "1"}},
    {"sum of zero", 118, {2, -2, most, -most, 1, 108, 1, 109}, 6114, {"A", "B", "0", "1"}},
    {"both broken", 0, {1, 118, 1, 108, 0, 0, 0, 0}, 6114, {"A", "0", "C", "D"}},
    {"text beyond the structure",
     112,
     {1, 108, 5, 108, 1, 109, 0, 0},
     6123,
     {"0", "01234", "1", "D"}},
    {"structure below the record", 107, {0, 0, 0, 0, 0, 0, 0, 0}, 6123, {"A", "B", "C", "D"}},
    {"structure below zero", least, {1, 108, 0, 0, 0, 0, 0, 0}, 6123, {"0", "B", "C", "D"}},
    {"structure beyond the buffer", 119, {1, 108, 0, 0, 0, 0, 0, 0}, 6112, {"0", "B", "C", "D"}},
};

TEST(Rfh, HostileRecords) {
    for (const HostileRecord & row : hostileRecords) {
        SCOPED_TRACE(row.what);
        PageEnd data("front" + with(reference(row.structureLength, row.fields), 100, "tail") +
                     "0123456789");
        data.makeReadOnly();
        ZebMsg message;
        fill(message, rfh.format, "");
        message.useFullBuffer(data.data(), data.size());
        message.setDataOffset(5);
        const std::string before = stateOf(message);
        ZebRfh header;
        setTexts(header, {"A", "B", "C", "D"});

        Recording recording;
        EXPECT_EQ(header.pasteIn(message), row.reason == 0);
        const Texts texts = recording.texts();
        EXPECT_EQ(codesOf(header), Codes(row.reason, row.reason != 0 ? 2 : 0));
        EXPECT_EQ(codesOf(message), row.reason == 6112 ? Codes(6112, 2) : Codes(0, 0));
        EXPECT_EQ(textsOf(header), row.texts);
        EXPECT_EQ(header.tailWord2(), wordAt("tail", 0)); // the new record, after all of these
        if (row.reason == 0) {
            EXPECT_EQ(texts, Texts{});
            EXPECT_EQ(message.dataOffset(), 5 + static_cast<std::size_t>(row.structureLength));
            continue;
        }
        EXPECT_EQ(stateOf(message), before);
        EXPECT_EQ(texts, Texts{row.reason == 6114   ? "ZebReferenceHeader::pasteIn (error): "
                                                      "insufficient data"
                               : row.reason == 6123 ? "ZebReferenceHeader::pasteIn (error): "
                                                      "structure length error"
                                                    : "ZebCache::resizeBuffer (error): user buffer "
                                                      "cannot be resized"});
    }
}

TEST(Rfh, StructureBeyondTheDataLengthensAnAutomaticMessage) {
    ZebMsg message;
    fill(message, rfh.format, reference(200, {0, 0, 0, 0, 0, 0, 0, 0}));
    ZebRfh header;
    EXPECT_TRUE(header.pasteIn(message));
    EXPECT_EQ(message.dataOffset(), 200);
    EXPECT_EQ(message.messageLength(), 200);
    // A length that storage can't follow is the message's failure.
    fill(message, rfh.format, "");
    message.clearMessage();
    fill(message, rfh.format, reference(most, {0, 0, 0, 0, 0, 0, 0, 0}));
    const std::string before = stateOf(message);
    FailAllocations noStorage(1, FailAllocations::fromThere);
    const bool result = header.pasteIn(message);
    noStorage.stop();
    EXPECT_FALSE(result);
    EXPECT_EQ(codesOf(header), Codes(2071, 2));
    EXPECT_EQ(stateOf(message), before);
}

TEST(Rfh, ZeroByteEndsATextWhenItIsWrittenOrCopied) {
    ZebMsg message;
    fill(message, rfh.format, reference(112, {4, 108, 0, 0, 0, 0, 0, 0}) + "ab\0c"s);
    ZebRfh header;
    EXPECT_TRUE(header.pasteIn(message));
    EXPECT_EQ(header.sourceEnvironment().storage(), 4);
    EXPECT_EQ(header.sourceEnvironment().length(), 2);
    ZebRfh copy(header);
    EXPECT_EQ(copy.sourceEnvironment().storage(), 3);
    EXPECT_EQ(imageOf(rfh, header), reference(110, {2, 108, 0, 110, 0, 110, 0, 110}) + "ab");
}

TEST(Rfh, TextWithoutStorageIsReportedOnTheTextAlone) {
    ZebMsg message;
    fill(message, rfh.format, reference(112, {4, 108, 2, 108, 0, 0, 0, 0}) + "abcd");
    for (std::size_t n = 1; n <= 2; ++n) {
        message.setDataOffset(0);
        message.setFormat("ZBHREF");
        ZebRfh header;
        setTexts(header, {"A", "B", "C", "D"});
        FailAllocations noStorage(n);
        const bool result = header.pasteIn(message);
        noStorage.stop();
        EXPECT_TRUE(result);
        EXPECT_EQ(codesOf(header), Codes(0, 0));
        const Codes missing(2071, 2), none(0, 0);
        EXPECT_EQ(codesOf(header.sourceEnvironment()), n == 1 ? missing : none);
        EXPECT_EQ(codesOf(header.sourceName()), n == 2 ? missing : none);
        EXPECT_EQ(textsOf(header),
                  n == 1 ? (Texts4{"A", "ab", "C", "D"}) : (Texts4{"abcd", "B", "C", "D"}));
    }
}

TEST(Rfh, AssignmentWithoutStorageForOneText) {
    const Codes none(0, 0), warning(2071, 1), failure(2071, 2);
    for (std::size_t n = 1; n <= 8; ++n) {
        SCOPED_TRACE(n);
        ZebRfh source, target;
        setTexts(source, {"a", "b", "c", "d"});
        setTexts(target, {"four", "four", "four", "four"});
        FailAllocations noStorage(n);
        target = source;
        noStorage.stop();
        EXPECT_TRUE(noStorage.failed());
        // Two blocks for each text: that of a passing copy, without which nothing is left to take
        // over, and the text's own. They come in this order.
        const std::size_t text = (n - 1) / 2;
        const ZebStr found[] = {target.destinationEnvironment(), target.destinationName(),
                                target.sourceEnvironment(), target.sourceName()};
        const char * const whole[] = {"c", "d", "a", "b"};
        for (std::size_t at = 0; at < 4; ++at) {
            const bool passing = n % 2 == 1;
            EXPECT_EQ(codesOf(found[at]), at != text ? none : passing ? warning : failure);
            EXPECT_EQ(textOf(found[at]), at != text ? whole[at] : passing ? "" : "four");
        }
        EXPECT_EQ(codesOf(target), none);
    }
}

// ---- The trigger in characters ------------------------------------------------------------------

std::string charactersOf(ZebTrg & trigger, bool expected = true) {
    PageEnd memory(std::string(732, '#'));
    EXPECT_EQ(trigger.copyOut(reinterpret_cast<ZBTMC2 *>(memory.data())), expected);
    return std::string(memory.data(), memory.size());
}

TEST(Trg, CharacterRecord) {
    ZebTrg trigger;
    const std::string plain = "TMC    2" + blanks(160) + "   0" + blanks(512) + blanks(48);
    EXPECT_EQ(charactersOf(trigger), plain);
    const std::pair<std::int32_t, const char *> numbers[] = {
        {7, "   7"},     {42, "  42"},     {4711, "4711"}, {-1, "  -1"},
        {12345, "1234"}, {-54321, "-543"}, {most, "2147"}, {least, "-214"}};
    for (const auto & [number, shown] : numbers) {
        trigger.setTriggerWord168(number);
        EXPECT_EQ(charactersOf(trigger), with(plain, 168, shown));
    }
    trigger.setTriggerWord168(0);
    for (const TextField & field : trg.texts) {
        const std::string full(field.width, 'f');
        field.set(trigger, full.c_str());
        EXPECT_EQ(charactersOf(trigger), with(plain, field.offset, full));
        field.set(trigger, " q ");
        EXPECT_EQ(charactersOf(trigger), with(plain, field.offset, " q"));
        field.set(trigger, nullptr);
    }
    EXPECT_EQ(codesOf(trigger), Codes(0, 0));

    Recording recording;
    EXPECT_FALSE(trigger.copyOut(nullptr));
    EXPECT_EQ(recording.texts(), Texts{"ZebTrigger::copyOut (error): null pointer to ZBTMC2"});
    recording.clear();
    EXPECT_EQ(charactersOf(trigger), plain);
    EXPECT_EQ(codesOf(trigger), Codes(ZBRC_NULL_POINTER, ZBCC_FAILED));
    const std::vector<std::string> lines = recording.lines();
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "entry 31 57"), 6);
}

TEST(Trg, CharacterRecordWithoutStorage) {
    ZebTrg trigger;
    dress(trg, trigger);
    const std::string whole = charactersOf(trigger);
    for (std::size_t n = 1;; ++n) {
        ZBTMC2 record;
        FailAllocations noStorage(n);
        const bool result = trigger.copyOut(&record);
        noStorage.stop();
        EXPECT_TRUE(result);
        const std::string bytes(reinterpret_cast<const char *>(&record), sizeof record);
        if (!noStorage.failed()) {
            EXPECT_EQ(bytes, whole);
            EXPECT_EQ(n, trg.texts.size() + 1);
            break;
        }
        // The text that could not be had is blank; all else is there, the number above all.
        const TextField & missing = trg.texts[n - 1];
        EXPECT_EQ(bytes, with(whole, missing.offset, blanks(missing.width)));
    }
}

// ---- Damaged records ----------------------------------------------------------------------------

// What a reader is to make of the data from its cursor on, by a plain model of each class.
struct Outcome {
    std::int32_t reason = 0;
    std::size_t taken = 0; // how far the cursor moves
    std::string record;    // what a fresh object then writes
};

// A format is a text: it ends at its first zero byte.
std::string asFormat(const std::string & field) {
    std::string format = field.c_str();
    format.resize(8, ' ');
    return format;
}

Outcome referenceOutcome(const std::string & data, std::size_t bufferRest) {
    if (data.size() < 108) {
        return {6114, 0, rfh.image};
    }
    std::string texts;
    std::array<std::int32_t, 8> fields{};
    std::int64_t end = 108;
    bool inside = true;
    for (std::size_t field = 0; field < 4; ++field) {
        const std::int64_t length = wordAt(data, 64 + 8 * field);
        const std::int64_t offset = wordAt(data, 68 + 8 * field);
        std::string text;
        if (length > 0 && (offset < 0 || offset + length > std::int64_t(data.size()))) {
            inside = false;
        } else if (length > 0) {
            text = data.substr(std::size_t(offset), std::size_t(length)).c_str();
            end = std::max(end, offset + length);
        }
        fields[2 * field] = std::int32_t(text.size());
        fields[2 * field + 1] = std::int32_t(108 + texts.size());
        texts += text;
    }
    const std::int32_t structureLength = wordAt(data, 8);
    Outcome outcome;
    outcome.record = with(with(data.substr(0, 108), 64, lengthsAndOffsets(fields)), 8,
                          word(std::int32_t(108 + texts.size()))) +
                     texts;
    if (!inside || end > structureLength) {
        outcome.reason = inside ? 6123 : 6114;
    } else if (std::size_t(structureLength) > bufferRest) {
        outcome.reason = 6112;
    } else {
        outcome.taken = std::size_t(structureLength);
    }
    return outcome;
}

Outcome outcomeOf(const Sibling & s, const std::string & data, std::size_t bufferRest) {
    if (data.substr(0, 4) != s.id) {
        return {6107, 0, s.image};
    }
    if (&s == &rfh) {
        return referenceOutcome(data, bufferRest);
    }
    std::size_t length = s.length();
    if (&s == &tih && data.size() >= 8) {
        const std::int32_t version = wordAt(data, 4);
        if (version != 1 && version != 2) {
            return {6128, 0, s.image};
        }
        length = version == 1 ? 164 : 180;
    }
    if (data.size() < length) {
        return {6114, &s == &tih ? std::size_t(4) : 0, s.image};
    }
    std::string record = data.substr(0, length);
    return {0, length, &s == &tih ? with(record, 8, word(std::int32_t(length))) : record};
}

TEST(DamagedRecords, OfAllClassesAtTheEndOfAPage) {
    std::mt19937 random(4711);
    const auto below = [&](std::size_t limit) { return random() % limit; };
    const std::int32_t edges[] = {0,   1,   2,   3,   -1,   4,     107,
                                  108, 109, 164, 180, most, least, most - 108};
    std::array<std::size_t, 6> accepted{}, refused{};
    for (int round = 0; round < 40000; ++round) {
        const std::size_t which = below(siblings.size());
        const Sibling & s = siblings[which];
        const auto writer = s.make();
        dress(s, *writer);
        std::string data = imageOf(s, *writer) + std::string(below(20), 'b');
        for (std::size_t damage = below(4); damage > 0; --damage) {
            const std::size_t at = below(std::min<std::size_t>(data.size(), 128));
            switch (below(4)) {
            case 0:
                data[at] = static_cast<char>(below(256));
                break;
            case 1:
                data.resize(below(data.size() + 1));
                data += data.empty() ? "x" : "";
                break;
            default: {
                const std::size_t aligned = at & ~std::size_t(3);
                const std::int32_t near = std::int32_t(data.size()) + std::int32_t(below(3)) - 1;
                data.replace(aligned, 4,
                             word(below(2) == 0 ? near : edges[below(std::size(edges))]));
            }
            }
        }
        const std::size_t cursor = below(8), rest = below(2) * 8;
        PageEnd memory(std::string(cursor, 'f') + data + std::string(rest, 'r'));
        memory.makeReadOnly();
        ZebMsg message;
        fill(message, s.format, "", 546, 1208);
        message.useFullBuffer(memory.data(), memory.size());
        message.setMessageLength(cursor + data.size());
        message.setDataOffset(cursor);
        const std::string before = stateOf(message), described = description(message);

        Outcome expected = outcomeOf(s, data, data.size() + rest);
        const auto reader = s.make();
        const bool result = reader->pasteIn(message);
        ASSERT_EQ(result, expected.reason == 0) << s.name << " in round " << round;
        ASSERT_EQ(codesOf(*reader), Codes(expected.reason, result ? 0 : 2)) << round;
        ASSERT_EQ(message.dataOffset(), cursor + expected.taken) << round;
        if (s.isHeader()) {
            const std::size_t at = s.descriptionAt();
            const std::string format = asFormat(expected.record.substr(at + 8, 8));
            expected.record = with(expected.record, at + 8, format);
            ASSERT_EQ(description(message), result ? expected.record.substr(at, 16) : described);
        }
        ASSERT_EQ(imageOf(s, *reader), expected.record) << s.name << " in round " << round;
        if (!result) {
            message.setDataOffset(cursor);
            ASSERT_EQ(stateOf(message), before) << round;
        }
        ++(result ? accepted : refused)[which];
    }
    for (std::size_t which = 0; which < siblings.size(); ++which) {
        EXPECT_GT(accepted[which], 1000) << siblings[which].name;
        EXPECT_GT(refused[which], 1000) << siblings[which].name;
    }
}

}
