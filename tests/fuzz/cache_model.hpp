#ifndef FUZZ_CACHE_MODEL_HPP
#define FUZZ_CACHE_MODEL_HPP

#include "ZebCac.hpp"
#include "fuzz/step.hpp"

/// A cache in plain terms, under the names of the real one. The bytes of a new buffer are zero.
struct CacheModel : TracedCodes {
    bool automatic = true;
    std::size_t length = 0, message = 0, offset = 0;
    std::string own;
    char * user = nullptr; // the model's side of a user buffer

    char * bufferPointer() { return automatic ? own.data() : user; }
    std::size_t bufferLength() const { return length; }

    // More than half of what can be addressed is never asked for, and half of that never granted.
    static bool isThereStorage(std::size_t size) {
        return size <= PTRDIFF_MAX && !step.storage.strikes() && size <= PTRDIFF_MAX / 2;
    }
    bool resizeBuffer(std::size_t size) {
        if (!automatic) {
            return trace("ZebCache::resizeBuffer (error): user buffer cannot be resized",
                         ZBRC_BUFFER_NOT_AUTOMATIC);
        }
        if (size == length) {
            return true;
        }
        if (size < message) {
            traceCut("ZebCache::resizeBuffer (warning): data truncated");
        }
        if (size != 0 && !isThereStorage(size)) {
            return trace("ZebCache::resizeBuffer (error): storage not available",
                         ZBRC_STORAGE_NOT_AVAILABLE);
        }
        message = std::min(message, size);
        offset = std::min(offset, size);
        own.resize(message);
        own.resize(length = size);
        return true;
    }
    bool moreBytes(std::size_t size) {
        if (size <= length - offset) {
            return true;
        }
        if (!automatic) {
            return trace("ZebCache::moreBytes (error): insufficient buffer",
                         ZBRC_INSUFFICIENT_BUFFER);
        }
        if (size > SIZE_MAX - offset) {
            return trace("ZebCache::moreBytes (error): storage not available",
                         ZBRC_STORAGE_NOT_AVAILABLE);
        }
        return resizeBuffer(std::max(size + offset, 2 * length));
    }
    bool setMessageLength(std::size_t size) {
        if (size > length && !resizeBuffer(size)) {
            return false;
        }
        message = size;
        offset = std::min(offset, size);
        return true;
    }
    bool setDataOffset(std::size_t place) {
        if (place > message && !setMessageLength(place)) {
            return false;
        }
        offset = place;
        return true;
    }
    void clearMessage() { message = offset = 0; }
    bool write(std::size_t size, const char * from) {
        if (!moreBytes(size) || size == 0) {
            return size <= length - offset;
        }
        if (from == nullptr) {
            return trace("ZebCache::write (error): null data pointer", ZBRC_NULL_POINTER);
        }
        if (!mayRead(size) || !mayWrite(size)) {
            return false;
        }
        std::copy_n(from, size, bufferPointer() + offset);
        message = std::max(message, offset += size);
        return true;
    }
    bool read(std::size_t size, char * to) {
        if (size > message - offset) {
            return trace("ZebCache::read (error): insufficient data", ZBRC_INSUFFICIENT_DATA);
        }
        if (size == 0) {
            return true;
        }
        if (to == nullptr) {
            return trace("ZebCache::read (error): null data pointer", ZBRC_NULL_POINTER);
        }
        if (!mayWrite(size)) {
            return false;
        }
        std::copy_n(bufferPointer() + offset, size, to);
        offset += size;
        return true;
    }
    bool useEmptyBuffer(char * memory, std::size_t size) {
        if (size != 0 && memory == nullptr) {
            return trace("ZebCache::useEmpty/FullBuffer (error): length but no pointer",
                         ZBRC_NULL_POINTER);
        }
        if (size != 0 && !mayRead(size)) {
            return false;
        }
        if (size != 0 || !automatic) {
            automatic = size == 0;
            own.clear();
            user = memory;
            length = size;
        }
        clearMessage();
        return true;
    }
    bool useFullBuffer(char * memory, std::size_t size) {
        return useEmptyBuffer(memory, size) && ((message = size), true);
    }
    bool assign(CacheModel & source) {
        if (this == &source) {
            return true;
        }
        Codes::operator=(source);
        if (length < source.message && automatic) {
            resizeBuffer(source.message);
        }
        if (length < source.message) {
            traceCut("ZebCache::operator = (warning): data truncated");
        }
        const std::size_t count = std::min(source.message, length);
        std::copy_n(source.bufferPointer(), count, bufferPointer());
        setMessageLength(count);
        setDataOffset(source.offset);
        return true;
    }

    // The counters are in order, and the cache has them and the codes.
    bool agreesWith(const ZebCac & cache) const {
        return offset <= message && message <= length && cache.dataOffset() == offset &&
               cache.messageLength() == message && cache.bufferLength() == length &&
               cache.automaticBuffer() == automatic && cache.dataLength() == message - offset &&
               areThoseOf(cache);
    }
    // The cache gives the buffer out with these bytes. This sets what nobody has written.
    bool showsBytesOf(const ZebCac & cache) {
        char * const buffer = cache.bufferPointer();
        return (buffer == nullptr) == (length == 0) &&
               cache.dataPointer() == (buffer == nullptr ? nullptr : buffer + offset) &&
               std::equal(buffer, buffer + length, bufferPointer());
    }
};

/// What is read comes to `to`, and `user` is for a user buffer.
struct CacheArguments {
    std::size_t size;
    const char * from;
    char *to, *user;
};

/// What can be done to a cache or to its model, first what takes any size in any state.
template <class C> using CacheAction = bool (*)(C &, CacheArguments &);
template <class C>
inline constexpr CacheAction<C> cacheActions[] = {
    [](C & c, CacheArguments & a) { return c.moreBytes(a.size); },
    [](C & c, CacheArguments & a) { return c.setMessageLength(a.size); },
    [](C & c, CacheArguments & a) { return c.setDataOffset(a.size); },
    [](C & c, CacheArguments & a) { return c.read(a.size, a.to); },
    [](C & c, CacheArguments & a) { return c.write(a.size, a.from); },
    [](C & c, CacheArguments & a) { return c.resizeBuffer(a.size); },
    [](C & c, CacheArguments & a) { return c.useEmptyBuffer(a.user, a.size); },
    [](C & c, CacheArguments & a) { return c.useFullBuffer(a.user, a.size); },
    [](C & c, CacheArguments &) { return c.clearMessage(), true; },
    [](C & c, CacheArguments & a) { return c.read(a.size, a.to = nullptr); },
    [](C & c, CacheArguments & a) { return c.write(a.size, nullptr); },
    [](C & c, CacheArguments & a) { return c.useFullBuffer(nullptr, a.size); },
    // A receiver fills the buffer through the pointer that it asks for.
    [](C & c, CacheArguments & a) {
        const std::size_t size = std::min(a.size, c.bufferLength());
        return std::copy_n(a.from, size, c.bufferPointer() + c.bufferLength() - size), true;
    },
};
inline constexpr std::size_t clearing = 8; // the only action of these that takes no size

#endif
