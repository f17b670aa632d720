#ifndef ZEBERR_HPP
#define ZEBERR_HPP

#include "ZebCodes.hpp"
#include "ZebExport.hpp"

#include <cstddef>
#include <cstdint>
#include <new>

namespace zeb {
struct CodeWriter;
}

/// The root of every class that can fail: a completion code and a reason code.
///
///     ZebMsg message;
///     char * target = bytes;
///     if (!message.read(10, target))                       // the result decides ...
///         std::printf("reason %d\n", message.reasonCode()); // ... the code explains: 6114
///
/// Codes are sticky. A failure stores its reason and ZBCC_FAILED over whatever stood there and the
/// operation returns false; a warning stores its reason and ZBCC_WARNING and the operation goes on.
/// A success leaves the codes as they are, and nothing in the library calls clearErrorCodes(): only
/// the boolean result of an operation says whether that operation failed. Assigning or copying an
/// object of any derived class takes over the codes of the source.
///
/// The library throws nothing of its own. Where a class's comment says that a small fixed block is
/// allocated plainly, a std::bad_alloc of the global allocator reaches the caller.
///
/// Threads: objects have no locks. An object belongs to one thread at a time; this holds for every
/// class of the library and is not repeated there.
class ZEB_EXPORT ZebErr {
public:
    /// Both codes 0.
    ZebErr();
    /// Takes both codes of the source.
    ZebErr(const ZebErr & source);
    virtual ~ZebErr();
    /// Takes both codes of the source; on itself, nothing.
    void operator=(const ZebErr & source);

    /// Sets both codes to 0, and nothing else.
    void clearErrorCodes();
    /// ZBCC_OK, ZBCC_WARNING or ZBCC_FAILED of the last trouble on this object, however old.
    std::int32_t completionCode() const;
    /// The reason of the last trouble on this object, ZBRC_NONE if there was none.
    std::int32_t reasonCode() const;

    /// Objects of the whole hierarchy are allocated and released by this library's code, on the
    /// global allocator.
    static void * operator new(std::size_t size);
    /// As operator new.
    static void * operator new[](std::size_t size);
    /// As operator new.
    static void operator delete(void * block) noexcept;
    /// As operator new.
    static void operator delete[](void * block) noexcept;
    /// As operator new, but null where there is no storage for the object.
    static void * operator new(std::size_t size, const std::nothrow_t & tag) noexcept;
    /// As operator new, but null where there is no storage for the objects.
    static void * operator new[](std::size_t size, const std::nothrow_t & tag) noexcept;
    /// As operator new; for an object whose constructor failed.
    static void operator delete(void * block, const std::nothrow_t & tag) noexcept;
    /// As operator new; for objects of which a constructor failed.
    static void operator delete[](void * block, const std::nothrow_t & tag) noexcept;
    /// An object where the caller has memory for it; nothing is allocated.
    static void * operator new(std::size_t, void * place) noexcept { return place; }
    /// Objects where the caller has memory for them; nothing is allocated.
    static void * operator new[](std::size_t, void * place) noexcept { return place; }

protected:
    /// Whether `length` bytes at `pointer` may be read. On a no: ZBRC_BUFFER_ERROR.
    bool checkReadPointer(const void * pointer, std::size_t length);
    /// Whether `length` bytes at `pointer` may be written. On a no: ZBRC_BUFFER_ERROR.
    bool checkWritePointer(const void * pointer, std::size_t length);
    /// Stores the two codes: for items that an application derives, to report as the library does.
    void setErrorCodes(std::int32_t reason, std::int32_t completion) noexcept {
        reasonCode_ = reason;
        completionCode_ = completion;
    }

private:
    friend struct zeb::CodeWriter;

    std::int32_t completionCode_ = ZBCC_OK;
    std::int32_t reasonCode_ = ZBRC_NONE;
};

#endif
