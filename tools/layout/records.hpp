#ifndef TOOLS_LAYOUT_RECORDS_HPP
#define TOOLS_LAYOUT_RECORDS_HPP

#include "frame/layout.hpp"

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include <zebbase.hpp>

/// Every record of the library, with images of it that the library itself has made.
namespace records {

using Bytes = std::string;

/// A block that a pointer of a record leads to.
struct Block {
    std::string field; ///< The pointer.
    Bytes bytes;
};

struct Image {
    std::string name;
    Bytes bytes; ///< Pointers are zero in it.
    std::vector<Block> blocks;
};

/// A text behind a record, and the fields that say where.
struct VariableText {
    const char * name;
    const char * lengthField;
    const char * offsetField;
};

struct Record {
    const zeb::RecordLayout & layout;
    const char * className;
    const char * header; ///< The public header that declares it.
    const char * format; ///< What announces it in a message; null where it travels in none.
    std::unique_ptr<ZebItm> (*makeItem)(); ///< Null where it travels in no message.
    std::vector<Image> images;             ///< The first is the default.
    /// Record versions with a length of their own, first 1, then 2 and so on.
    std::vector<std::size_t> versionLengths;
    std::vector<VariableText> texts;
};

/// Throws where the condition doesn't hold.
void require(bool condition, const char * what);

std::vector<Record> all();

} // namespace records

#endif
