// Every public operation that allocates, with each of its allocations failing: alone, and together
// with all that follow. What came of it is a table, docs/storage-failure.md.
//
//     storage_test FILE            fails where the file is not the table of this run
//     storage_test --write FILE    writes it
#include "support/checks.hpp"
#include "support/failing_allocation.hpp"
#include "zebbase.hpp"

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

namespace {

using support::FailAllocations;
using support::OwnAllocations;

int faults = 0;

void check(bool holds, const char * what, const char * where) {
    if (!holds) {
        std::printf("%s: %s\n", where, what);
        ++faults;
    }
}

const char * const exits[] = {"first", "second"};
const char * const longText = "a text that is longer than any field of eight or twelve characters";

// An object of each class, and what an operation may need beside it.
struct World {
    ZebCac cache;
    ZebMsg message, letter, written;
    ZebStr text{"  12 one,two"}, token{"token"};
    ZebBin bytes{"bytes", 5};
    ZebMtr tracker;
    ZebRfh reference, otherReference;
    ZebTih bridge;
    ZebTrg trigger;
    ZebGmo3 options;
    ZebChl channel, otherChannel;

    World() {
        ZebStrCleanUp(); // so that the lock of the string class is made anew
        cache.write(4, "data");
        message.write(7, "message");
        letter.write(40, longText);
        letter.setDataOffset(10); // behind the end of the other messages
        letter.setFormat("ZBSTR");
        letter.setUserId("user");
        written.write(4, "body");
        for (ZebRfh * each : {&reference, &otherReference}) {
            each->setSourceName(each == &reference ? "name" : longText);
            each->setDestinationName(longText);
        }
        written.writeItem(otherReference);
        written.setDataOffset(0);
        channel.setSendExitNames(1, exits);
        channel.setSslPeerName("peer");
        otherChannel.setSendExitNames(2, exits);
        otherChannel.setReceiveExitNames(2, exits);
        otherChannel.setSslPeerName(longText);
    }
};

// Parts that can change or be lost each for itself, as they look from outside.
using Image = std::vector<std::string>;

Image imageOf(World & w) {
    const OwnAllocations own;
    Image image;
    const ZebCac * const caches[] = {&w.cache, &w.message, &w.letter, &w.written};
    for (const ZebCac * cache : caches) {
        const bool isValid = (cache->bufferPointer() == nullptr) == (cache->bufferLength() == 0) &&
                             cache->messageLength() <= cache->bufferLength();
        check(isValid && cache->dataOffset() <= cache->messageLength(), "invalid", "cache");
        image.emplace_back(cache->bufferPointer(), isValid ? cache->messageLength() : 0);
    }
    for (const ZebStr & text :
         {w.text, w.token, w.reference.sourceName(), w.reference.destinationName(),
          w.channel.sendExitName(), w.channel.receiveExitName(), w.channel.sslPeerName()}) {
        check(!support::told(text).starts_with("INVALID"), "invalid", "text");
        image.push_back(support::textOf(text));
    }
    check(!support::told(w.bytes).starts_with("INVALID"), "invalid", "bytes");
    image.push_back(support::bytesOf(w.bytes));
    image.emplace_back(reinterpret_cast<const char *>(&w.message.descriptor()), sizeof(ZBMD));
    return image;
}

struct Outcome {
    bool done = false;
    char words[32] = "std::bad_alloc"; // no string, whose block would be counted
};

Outcome told(bool result, const ZebErr & object) {
    static const char * const grades[] = {"%s", "%s, warning %d", "%s, failed %d"};
    Outcome outcome{result, {}};
    std::snprintf(outcome.words, sizeof outcome.words, grades[object.completionCode()],
                  result ? "true" : "false", object.reasonCode());
    return outcome;
}

// What a failure may take away; everything else is then as it was, or as after a success.
enum class Loss { nothing, emptied };

struct Operation {
    const char * name;
    Outcome (*run)(World &);
    Loss loss;
};

// clang-format off
#define RUNS(name, loss, run) {name, [](World & w) { (void)w; run }, Loss::loss}
#define GIVES(name, expression) \
    RUNS(name, nothing, const auto result = expression; return told(result.completionCode() == ZBCC_OK, result);)
#define SAYS(name, object, call) RUNS(name, nothing, return told(w.object.call, w.object);)
#define LOSES(name, object, call) RUNS(name, emptied, return told(w.object.call, w.object);)
#define DOES(name, object, statement) \
    RUNS(name, emptied, w.object.clearErrorCodes(); statement; return told(w.object.completionCode() == ZBCC_OK, w.object);)

const Operation operations[] = {
    SAYS("ZebCac::resizeBuffer", cache, resizeBuffer(100)),
    SAYS("ZebCac::moreBytes", cache, moreBytes(100)),
    SAYS("ZebCac::setMessageLength", cache, setMessageLength(100)),
    SAYS("ZebCac::setDataOffset", cache, setDataOffset(100)),
    SAYS("ZebCac::write", cache, write(40, longText)),
    DOES("ZebCac::operator =", cache, w.cache = w.letter),
    GIVES("ZebCac, copy", ZebCac(w.cache)),
    DOES("ZebMsg::operator =", message, w.message = w.letter),
    GIVES("ZebMsg, copy", ZebMsg(w.letter)),
    GIVES("ZebMsg::format and the other text readers", w.message.format()),
    GIVES("ZebMsg::messageId and the other byte readers", w.message.messageId()),
    SAYS("ZebMsg::writeItem of a header", message, writeItem(w.bridge)),
    SAYS("ZebMsg::writeItem of a reference header", message, writeItem(w.reference)),
    LOSES("ZebMsg::writeItem of a trigger", message, writeItem(w.trigger)),
    LOSES("ZebMsg::writeItem of a text", message, writeItem(w.text)),
    LOSES("ZebMsg::readItem of a reference header", written, readItem(w.reference)),
    LOSES("ZebMsg::readItem of a text", letter, readItem(w.token)),
    LOSES("ZebMsg::readItem of bytes", letter, readItem((w.letter.setFormat(""), w.bytes))),
    GIVES("ZebMtr, copy", ZebMtr(w.tracker)),
    GIVES("ZebStr from a character", ZebStr('x')),
    GIVES("ZebStr from a text", ZebStr(longText)),
    GIVES("ZebStr from bytes", ZebStr(longText, 30)),
    GIVES("ZebStr, copy", ZebStr(w.text)),
    SAYS("ZebStr::setStorage", text, setStorage(100)),
    SAYS("ZebStr::set", text, set(longText, 30)),
    SAYS("ZebStr::pasteIn of bytes", text, pasteIn(longText, 30)),
    LOSES("ZebStr::pasteIn of an integer", text, pasteIn(-2147483647)),
    LOSES("ZebStr::pasteIn of a long double text", text, pasteIn(1.0, "%600.300f")),
    RUNS("ZebStr::copyOut to a field, first in the process", nothing, char field[8] = {};
         const bool result = w.text.copyOut(field, sizeof field, ' '); return told(result, w.text);),
    RUNS("new ZebStr", nothing, const std::unique_ptr<ZebStr> made(new ZebStr); return told(true, *made);),
    DOES("ZebStr::operator =", text, w.text = w.otherReference.sourceName()),
    GIVES("ZebStr::operator () and the other pieces", w.text(2, 3)),
    GIVES("ZebStr::upperCase", w.text.upperCase()),
    DOES("ZebStr::stripLeading", text, w.text.stripLeading(' ')),
    DOES("ZebStr::copyOut of a token", token, w.text.copyOut(w.token, ',')),
    DOES("ZebStr::cutOut of a token", text, w.text.cutOut(w.token, ',')),
    DOES("ZebStr::cutOut of a number", text, std::int32_t number = 0; w.text.cutOut(number)),
    GIVES("ZebStr::operator + with a string", w.text + w.token),
    GIVES("ZebStr::operator + with a character", w.text + 'x'),
    GIVES("ZebStr::operator + with a text", w.text + longText),
    GIVES("ZebStr::operator + with an integer", w.text + 42),
    GIVES("ZebStr::operator + with a double", w.text + 0.5),
    GIVES("operator + of a text and a ZebStr", longText + w.text),
    DOES("ZebStr::operator += with a string", text, w.text += w.token),
    DOES("ZebStr::operator += with a text", text, w.text += longText),
    DOES("ZebStr::operator += with a character", text, w.text += 'x'),
    DOES("ZebStr::operator += with an integer", text, w.text += 42),
    DOES("ZebStr::operator += with a double", text, w.text += 0.5),
    GIVES("ZebBin from bytes", ZebBin(longText, 30)),
    GIVES("ZebBin, copy", ZebBin(w.bytes)),
    SAYS("ZebBin::set", bytes, set(longText, 30)),
    SAYS("ZebBin::setDataLength", bytes, setDataLength(30)),
    DOES("ZebBin::operator =", bytes, w.bytes = w.message.messageId()),
    GIVES("ZebTih", ZebTih()),
    GIVES("ZebTih, copy", ZebTih(w.bridge)),
    GIVES("ZebRfh, copy", ZebRfh(w.otherReference)),
    DOES("ZebRfh::operator =", reference, w.reference = w.otherReference),
    DOES("ZebRfh::setSourceName and the other texts", reference, w.reference.setSourceName(longText)),
    GIVES("ZebRfh::sourceName and the other texts", w.otherReference.sourceName()),
    GIVES("ZebGmo3", ZebGmo3()),
    GIVES("ZebGmo3, copy", ZebGmo3(w.options)),
    GIVES("ZebChl", ZebChl()),
    GIVES("ZebChl, copy", ZebChl(w.otherChannel)),
    DOES("ZebChl::operator =", channel, w.channel = w.otherChannel),
    SAYS("ZebChl::setSslPeerName", channel, setSslPeerName(longText)),
    GIVES("ZebChl::sslPeerName and the other text readers", w.otherChannel.sslPeerName()),
    LOSES("ZebChl::setSendExitNames and its siblings", channel, setSendExitNames(2, exits)),
    GIVES("ZebChl::sendExitName and its siblings", w.otherChannel.sendExitName()),
    RUNS("ZebChl::sendExitNames and its siblings", emptied, ZebStr * strings[2];
         strings[0] = &w.text; strings[1] = &w.token;
         return told(w.otherChannel.sendExitNames(2, strings), w.otherChannel);),
};
// clang-format on

// Whether a part is empty, or as after a success but cut short, with zero bytes for what is
// missing.
bool isCut(const std::string & part, const std::string & done) {
    const auto end = std::mismatch(part.begin(), part.end(), done.begin(), done.end()).first;
    return std::all_of(end, part.end(), [](char byte) { return byte == '\0'; });
}

struct Trial {
    Outcome outcome;
    Image before, after, last;
    bool failed = false;
};

// Runs the operation with its n-th allocation failing, if n isn't 0; and then again, as everything
// is of use.
Trial tryOnce(const Operation & operation, std::size_t n, FailAllocations::Extent extent) {
    Trial trial;
    const std::ptrdiff_t live = support::liveBlocks();
    {
        World world;
        trial.before = imageOf(world);
        FailAllocations guard(n, extent);
        try {
            trial.outcome = operation.run(world);
        } catch (const std::bad_alloc &) {
        }
        guard.stop();
        trial.failed = guard.failed();
        trial.after = imageOf(world);
        operation.run(world);
        trial.last = imageOf(world);
    }
    ZebStrCleanUp();
    check(support::liveBlocks() == live, "blocks lost or released twice", operation.name);
    return trial;
}

std::string row(const Operation & operation) {
    const Trial done = tryOnce(operation, 0, FailAllocations::once);
    std::string columns[2];
    std::size_t n = 1;
    for (const auto extent : {FailAllocations::once, FailAllocations::fromThere}) {
        std::string & column = columns[extent];
        for (n = 1;; ++n) {
            const Trial trial = tryOnce(operation, n, extent);
            if (!trial.failed) { // memcheck sees here whether all bytes are defined
                check(trial.after == done.after && trial.last == done.last, "changes",
                      operation.name);
                break;
            }
            column += (n == 1 ? "" : "; ") + std::string(trial.outcome.words);
            const bool mayLose = operation.loss == Loss::emptied;
            for (std::size_t i = 0; i != trial.after.size(); ++i) {
                const std::string & after = trial.after[i];
                const bool kept = after == trial.before[i] || after == done.after[i];
                // A number without storage for its digits is written as three asterisks.
                const bool lost =
                    mayLose && (isCut(after, done.after[i]) || after == trial.before[i] + "***");
                check(kept || lost, "something was lost", operation.name);
            }
            const bool isDone = mayLose || trial.outcome.done;
            check(isDone || trial.after == trial.before, "half done", operation.name);
        }
    }
    check(n != 1, "allocates nothing", operation.name);
    return "| `" + std::string(operation.name) + "` | " + std::to_string(n - 1) + " | " +
           columns[0] + " | " + columns[1] + " |\n";
}

}

int main(int count, char ** arguments) {
    const std::string ruler = "|---|---|---|---|\n";
    std::string table = ruler;
    for (const Operation & operation : operations) {
        table += row(operation);
    }
    const std::string file = arguments[count - 1];
    std::ifstream stream(file);
    const std::string text(std::istreambuf_iterator<char>(stream), {});
    const std::string head = text.substr(0, text.find(ruler));
    if (count == 3) {
        std::ofstream(file) << head << table;
    } else {
        check(text == head + table, "not the table of this run; storage_test --write writes it",
              file.c_str());
    }
    return faults == 0 ? 0 : 1;
}
