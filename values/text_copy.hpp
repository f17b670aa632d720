#ifndef VALUES_TEXT_COPY_HPP
#define VALUES_TEXT_COPY_HPP

#include "frame/pointer_check.hpp"
#include "frame/report.hpp"

#include <cstdint>
#include <cstring>

/// The rule of `ZebStr::copy`, written once for texts of any width and for the fields of records,
/// whose width the compiler knows.

namespace zeb {

/// What can come of a copy besides its being made.
enum class CopyTrouble : std::uint8_t { targetRefused, sourceRefused, noTarget, truncated };

/// Reports on the error object, or for none on the process-wide pair of codes; whether the copy
/// counts as made.
[[gnu::cold, gnu::noinline]] bool reportCopy(ZebErr * error, CopyTrouble trouble);

/// Where a text that ends at `end` ends without the `character`s before that.
inline std::size_t strippedEnd(const char * text, std::size_t end, char character) noexcept {
    while (end != 0 && text[end - 1] == character) {
        --end;
    }
    return end;
}

/// Whether the compiler knows the width of a target.
enum class WidthKind : bool { known, variable };

/// Lays `count` characters of the text into the target and pads it to its width.
template <WidthKind kind>
[[gnu::always_inline]] inline void layText(char * target, std::size_t width, const char * source,
                                           std::size_t count, char pad) {
    if constexpr (kind == WidthKind::known) {
        // Filling all of it takes a few stores, less than a call to fill the rest. But the text may
        // lie there itself.
        const auto from = reinterpret_cast<std::uintptr_t>(source);
        const auto to = reinterpret_cast<std::uintptr_t>(target);
        if (from >= to + width || to >= from + width) {
            std::memset(target, pad, width);
            if (count != 0) {
                std::memcpy(target, source, count);
            }
            return;
        }
    }
    if (count != 0) {
        std::memmove(target, source, count);
    }
    if (count != width) {
        std::memset(target + count, pad, width - count);
    }
}

/// Copies a text into `width` characters, cut or padded; a null text gives nothing but the pad.
template <WidthKind kind>
[[gnu::always_inline]] inline bool copyText(char * target, std::size_t width, const char * source,
                                            ZebErr * error, char pad) {
    if (target != nullptr && width != 0 && !isUsable(target, width, modeWrite)) [[unlikely]] {
        return reportCopy(error, CopyTrouble::targetRefused);
    }
    if (error != nullptr) {
        if (source != nullptr && !isUsable(source, 1, modeRead)) {
            return reportCopy(error, CopyTrouble::sourceRefused);
        }
        if (width == 0) {
            return true;
        }
    }
    if (target == nullptr && width != 0) {
        return reportCopy(error, CopyTrouble::noTarget);
    }
    const std::size_t count = source != nullptr ? strnlen(source, width) : 0;
    layText<kind>(target, width, source, count, pad);
    // Where all of the width is text, one look behind it tells whether there was more.
    return count < width || source == nullptr || source[width] == '\0' ||
           reportCopy(error, CopyTrouble::truncated);
}

} // namespace zeb

#endif
