#ifndef EXAMPLES_COMMON_HPP
#define EXAMPLES_COMMON_HPP

#include <zebbase.hpp>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

/// What the examples share: files, and printing for people.
namespace example {

using Bytes = std::vector<char>;

/// Prints a failed object's codes; 1, the exit status.
inline int failed(const char * what, const ZebErr & object) {
    const ZebCodeText * reason = zebReasonCode(object.reasonCode());
    std::fprintf(stderr, "%s: reason code %d %s (%s), completion code %d\n", what,
                 object.reasonCode(), reason != nullptr ? reason->name : "unknown",
                 reason != nullptr ? reason->text : "not a code of the library",
                 object.completionCode());
    return 1;
}

/// Prints what the system says about a file; false.
inline bool failedFile(const char * what, const char * path) {
    std::fprintf(stderr, "can't %s '%s': %s\n", what, path, std::strerror(errno));
    return false;
}

/// Reads a whole file; a failure is printed.
inline bool readFile(const char * path, Bytes & bytes) {
    std::FILE * file = std::fopen(path, "rb");
    if (file == nullptr) {
        return failedFile("open", path);
    }
    constexpr std::size_t step = 1U << 20;
    std::size_t length = 0;
    bytes.clear();
    do {
        bytes.resize(length + step);
        length += std::fread(bytes.data() + length, 1, step, file);
    } while (length == bytes.size());
    bytes.resize(length);
    const bool good = std::ferror(file) == 0 || failedFile("read", path);
    std::fclose(file);
    return good;
}

/// Writes a file of these pieces, one behind the other; a failure is printed.
inline bool writeFile(const char * path, std::initializer_list<std::string_view> pieces) {
    std::FILE * file = std::fopen(path, "wb");
    if (file == nullptr) {
        return failedFile("write", path);
    }
    bool good = true;
    for (const std::string_view piece : pieces) {
        good = good && std::fwrite(piece.data(), 1, piece.size(), file) == piece.size();
    }
    good = std::fclose(file) == 0 && good;
    return good || failedFile("write", path);
}

/// Whether both paths lead to one file.
inline bool isSameFile(const char * path, const char * other) {
    std::error_code ignored;
    return std::filesystem::equivalent(path, other, ignored);
}

/// Saves a message as a queue would carry it, its descriptor and behind it the data; a failure is
/// printed.
inline bool saveMessage(const char * path, const ZebMsg & message) {
    const ZBMD & descriptor = message.descriptor();
    return writeFile(path, {{reinterpret_cast<const char *>(&descriptor), sizeof descriptor},
                            {message.bufferPointer(), message.messageLength()}});
}

/// Loads a saved message; a failure is printed. The bytes of the file are used in place, so no
/// header, however damaged, can make the message longer than it came.
inline bool loadMessage(const char * path, Bytes & bytes, ZebMsg & message) {
    if (!readFile(path, bytes)) {
        return false;
    }
    ZebCac file;
    if (!file.useFullBuffer(bytes.data(), bytes.size())) {
        failed("taking the file as a buffer", file);
        return false;
    }
    char * descriptor = reinterpret_cast<char *>(&message.descriptor());
    if (!file.read(sizeof(ZBMD), descriptor)) {
        failed("reading the descriptor", file);
        return false;
    }
    if (!message.useFullBuffer(file.dataPointer(), file.dataLength())) {
        failed("taking the data as a buffer", message);
        return false;
    }
    return true;
}

/// Whether the data from the cursor on are those that were sent; a no is printed.
inline bool areAsSent(const ZebMsg & message, std::string_view sent) {
    if (std::string_view(message.dataPointer(), message.dataLength()) == sent) {
        return true;
    }
    std::fprintf(stderr, "the data received differ from the data sent\n");
    return false;
}

/// Prints the first lines of a range: offset, 16 bytes in hexadecimal, the same as characters.
inline void printHex(const char * bytes, std::size_t length, std::size_t lines = 8) {
    constexpr std::size_t perLine = 16;
    const std::size_t shown = std::min(length, lines * perLine);
    for (std::size_t start = 0; start < shown; start += perLine) {
        std::string characters;
        std::printf("  %08zx ", start);
        for (std::size_t at = start; at < start + perLine; ++at) {
            if (at >= shown) {
                std::printf("   ");
                continue;
            }
            const auto byte = static_cast<unsigned char>(bytes[at]);
            std::printf(" %02x", byte);
            characters += byte >= ' ' && byte <= '~' ? bytes[at] : '.';
        }
        std::printf("  %s\n", characters.c_str());
    }
    if (shown < length) {
        std::printf("  ... %zu bytes more\n", length - shown);
    }
}

/// Prints a number field of a record.
inline void printField(const char * name, std::int32_t value) {
    std::printf("  %-28s%d\n", name, value);
}

/// Prints a text field of a record without the zero bytes that it was filled up with, and with "."
/// for what can't be shown.
template <std::size_t Width> void printField(const char * name, const char (&field)[Width]) {
    std::string text(field, Width);
    text.resize(text.find_last_not_of('\0') + 1);
    std::replace_if(
        text.begin(), text.end(), [](char c) { return c < ' ' || c > '~'; }, '.');
    std::printf("  %-28s'%s'\n", name, text.c_str());
}

/// Prints a byte field of a record in hexadecimal.
template <std::size_t Width>
void printField(const char * name, const unsigned char (&field)[Width]) {
    std::printf("  %-28s", name);
    for (const unsigned char byte : field) {
        std::printf("%02x", byte);
    }
    std::printf("\n");
}

} // namespace example

#endif
