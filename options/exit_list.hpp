#ifndef OPTIONS_EXIT_LIST_HPP
#define OPTIONS_EXIT_LIST_HPP

#include "ZebChl.hpp"

namespace zeb {

/// A count or width of a record as a size; a negative one counts as 0.
inline std::size_t sizeFrom(std::int32_t number) noexcept {
    return number > 0 ? static_cast<std::size_t>(number) : 0;
}

/// One of the two arrays of a list: slots of a width that the record tells.
struct SlotArray {
    char *& block;
    const std::int32_t & slotWidth;

    std::size_t width() const noexcept { return sizeFrom(slotWidth); }
    char * slot(std::size_t index) const noexcept { return block + index * width(); }
    void release() const noexcept;
};

/// The exits of one direction: a view of those fields of a channel record that hold them, and every
/// step of the operations on them. Whatever is reported goes to `channel`.
class ExitList {
public:
    static ExitList sending(ZBCD & record) noexcept;
    static ExitList receiving(ZBCD & record) noexcept;

    std::size_t count() const noexcept { return sizeFrom(count_); }
    /// Releases both arrays.
    void clear() const noexcept;
    /// Lets the fields name nothing, whoever owns what they named.
    void forget() const noexcept;
    /// Gives an empty list arrays of its own with the contents of the source's.
    void copyFrom(const ExitList & source) const;

    /// `Entry` is a pointer to a text or to a string.
    template <class Entry>
    bool setNames(ZebErr & channel, std::size_t count, const Entry names[]) const;
    bool setName(ZebErr & channel, const char * name) const;
    template <class Entry>
    bool setUserData(ZebErr & channel, std::size_t count, const Entry data[]) const;

    ZebStr firstName(ZebErr & channel) const;
    ZebStr firstUserData(ZebErr & channel) const;
    bool readNames(ZebErr & channel, std::size_t count, ZebStr * const strings[]) const;
    bool readUserData(ZebErr & channel, std::size_t count, ZebStr * const strings[]) const;

private:
    ExitList(std::int32_t & count, SlotArray names, SlotArray userData) noexcept
        : count_(count), names_(names), userData_(userData) {}

    void obtain(std::size_t count) const;
    /// As setNames, with names that were looked at.
    template <class Entry>
    bool replaceNames(ZebErr & channel, std::size_t count, const Entry names[]) const;
    ZebStr first(ZebErr & channel, const SlotArray & slots) const;
    bool read(ZebErr & channel, const SlotArray & slots, std::size_t count,
              ZebStr * const strings[]) const;

    std::int32_t & count_;
    SlotArray names_;
    SlotArray userData_;
};

extern template bool ExitList::setNames(ZebErr &, std::size_t, const char * const[]) const;
extern template bool ExitList::setNames(ZebErr &, std::size_t, const ZebStr * const[]) const;
extern template bool ExitList::setUserData(ZebErr &, std::size_t, const char * const[]) const;
extern template bool ExitList::setUserData(ZebErr &, std::size_t, const ZebStr * const[]) const;

} // namespace zeb

#endif
