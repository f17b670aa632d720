// zebdump: shows what a message holds, takes its first header off, or puts one in front.

#include "dump.hpp"
#include "rewrite.hpp"

#include <CLI/CLI.hpp>

#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <iterator>

namespace {

enum Status { whole = 0, refused = 1, unusable = 2 };

struct Arguments {
    std::string file = "-";
    std::string format;
    std::string colour = "auto";
    std::string header;
    std::vector<std::string> settings;
    bool hasFormat = false;
    bool json = false;
    bool all = false;
    bool strip = false;
};

[[noreturn]] void failFile(const char * what, const std::string & name) {
    const int error = errno;
    throw dump::UsageError(std::string("can't ") + what + " " + name + ": " +
                           std::generic_category().message(error));
}

std::string readAll(const std::string & name) {
    const bool fromInput = name == "-";
    const std::string shownName = fromInput ? "standard input" : dump::quoted(name);
    std::FILE * file = fromInput ? stdin : std::fopen(name.c_str(), "rb");
    if (file == nullptr) {
        failFile("open", shownName);
    }
    std::string bytes;
    char block[1U << 16];
    std::size_t length = 0;
    while ((length = std::fread(block, 1, sizeof block, file)) != 0) {
        bytes.append(block, length);
    }
    if (std::ferror(file) != 0) {
        failFile("read", shownName);
    }
    if (!fromInput) {
        std::fclose(file);
    }
    return bytes;
}

void writeAll(const std::string & bytes) {
    if (std::fwrite(bytes.data(), 1, bytes.size(), stdout) != bytes.size() ||
        std::fflush(stdout) != 0) {
        failFile("write", "standard output");
    }
}

bool wantsColour(const std::string & when) {
    if (when != "auto") {
        return when == "always";
    }
    // NOLINTBEGIN(concurrency-mt-unsafe): one thread
    const char * const noColour = std::getenv("NO_COLOR");
    const char * const terminal = std::getenv("TERM");
    // NOLINTEND(concurrency-mt-unsafe)
    return (noColour == nullptr || *noColour == '\0') &&
           (terminal == nullptr || std::strcmp(terminal, "dumb") != 0) &&
           isatty(STDOUT_FILENO) == 1;
}

void tell(const std::string & line) {
    std::fprintf(stderr, "zebdump: %s\n", line.c_str());
}

int writeMessage(const dump::Rewritten & message, bool hasDescriptor) {
    writeAll(message.bytes);
    if (!hasDescriptor) {
        // Data alone don't carry what they are.
        tell("the data are now of format " + dump::quoted(message.description.format) +
             ", encoding " + std::to_string(message.description.encoding) + ", character set " +
             std::to_string(message.description.characterSet));
    }
    return whole;
}

int run(const Arguments & arguments) {
    const std::optional<std::string> format =
        arguments.hasFormat ? std::optional(arguments.format) : std::nullopt;
    const std::string input = readAll(arguments.file);
    if (arguments.strip) {
        return writeMessage(dump::strip(input, format), !format);
    }
    if (!arguments.header.empty()) {
        return writeMessage(
            dump::wrap(input, format, *dump::kindOfOption(arguments.header), arguments.settings),
            !format);
    }
    const std::size_t most = arguments.all ? SIZE_MAX : dump::shownByDefault;
    const dump::MessageView view = dump::readMessage(input, format);
    writeAll(arguments.json ? dump::jsonDump(view, most)
                            : dump::textDump(view, wantsColour(arguments.colour), most));
    if (!view.refusal) {
        return whole;
    }
    tell(dump::refusalText(*view.refusal));
    return refused;
}

int start(int count, char ** values) {
    Arguments arguments;
    CLI::App app(
        "Shows what a message holds: its descriptor, the headers in front of its data, and "
        "the data.",
        "zebdump");
    app.set_version_flag("--version", "zebdump " ZEBDUMP_VERSION);
    app.add_option("FILE", arguments.file,
                   "Descriptor and data of a message; - or none is standard input");
    auto * format = app.add_option("--format", arguments.format,
                                   "The input is data alone, of this format, in encoding 546")
                        ->type_name("NAME")
                        ->check([](const std::string & name) {
                            return name.size() > 8
                                       ? std::string("a format has at most 8 characters")
                                       : std::string();
                        });
    auto * json = app.add_flag("--json", arguments.json, "Prints one JSON object");
    app.add_flag("--all", arguments.all, "Shows texts and data whole, not their first 4096 bytes");
    app.add_option("--color", arguments.colour, "Colours: auto, always or never")
        ->type_name("WHEN")
        ->check(CLI::IsMember({"auto", "always", "never"}));
    auto * strip =
        app.add_flag("--strip", arguments.strip,
                     "Writes the message without its first header, and with the header's "
                     "description handed back");
    auto * wrap = app.add_option("--wrap", arguments.header,
                                 "Writes the message with a header in front: dlh, tih, hih, wih or "
                                 "rfh")
                      ->type_name("HEADER")
                      ->check(CLI::IsMember(dump::headerOptions()));
    app.add_option("--set", arguments.settings, "Gives a field of that header a value")
        ->type_name("FIELD=VALUE")
        ->allow_extra_args(false)
        ->needs(wrap);
    strip->excludes(wrap)->excludes(json);
    wrap->excludes(json);
    app.footer(
        "Exit status: 0 the whole message could be read, 1 something in it was refused, 2 the "
        "arguments or the files are of no use.");
    try {
        app.parse(count, values);
    } catch (const CLI::ParseError & error) {
        return app.exit(error) == 0 ? whole : unusable;
    }
    arguments.hasFormat = format->count() != 0;
    return run(arguments);
}

} // namespace

int main(int count, char ** values) {
    try {
        return start(count, values);
    } catch (const dump::MessageError & problem) {
        tell(problem.what());
        return refused;
    } catch (const std::exception & problem) {
        tell(problem.what());
        return unusable;
    }
}
