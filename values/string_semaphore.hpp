#ifndef VALUES_STRING_SEMAPHORE_HPP
#define VALUES_STRING_SEMAPHORE_HPP

/// The process-wide lock of ZebStr::copyOut to a character array, made at its first use. Both
/// operations trace their entry and return.

namespace zeb {

/// Takes the lock; false where it can't be made.
bool takeStringSemaphore();
/// Gives the lock back.
bool giveStringSemaphore();

} // namespace zeb

#endif
