#ifndef TOOLS_DUMP_HPP
#define TOOLS_DUMP_HPP

#include "chain_reader.hpp"

/// The two forms in which a message is shown.
namespace dump {

/// How much of a text or of the data is shown where not everything was asked for.
inline constexpr std::size_t shownByDefault = 4096;

/// For people.
std::string textDump(const MessageView & view, bool colour, std::size_t most);
/// For programs: one JSON object, and the end of the line.
std::string jsonDump(const MessageView & view, std::size_t most);

} // namespace dump

#endif
