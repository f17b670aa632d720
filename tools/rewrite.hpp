#ifndef TOOLS_REWRITE_HPP
#define TOOLS_REWRITE_HPP

#include "chain_reader.hpp"

#include <stdexcept>

/// Takes the first header off a message, or puts one in front.
namespace dump {

/// The command can't do what it was told: a mistake in the arguments.
struct UsageError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// The message is not as it must be for this.
struct MessageError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// A message to be written, in the form in which it came: with a descriptor, or data alone.
struct Rewritten {
    std::string bytes;
    Description description; ///< Of what now stands first in the data.
};

Rewritten strip(std::string_view input, const std::optional<std::string> & format);

/// `settings` are of the form field=value.
Rewritten wrap(std::string_view input, const std::optional<std::string> & format,
               const ItemKind & kind, const std::vector<std::string> & settings);

} // namespace dump

#endif
