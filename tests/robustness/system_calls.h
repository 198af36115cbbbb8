#pragma once

#include <cstddef>

/// Lets one system call of the library fail on purpose. A test program that uses this links with
/// the options of CMakeLists.txt beside it.
namespace calls {

enum class Call { NONE, READ, WRITE, POLL, OPEN, CLOSE, FLUSH, DRAIN, SET_LINE, GET_LINE };

enum class Mode {
    ERROR, ///< fails with the error number, nothing having happened
    SHORT  ///< a transfer of one byte, or of none where only one was asked for
};

/// While an object lives, the calls of this thread are counted and the chosen one misbehaves.
class FailingCall {
public:
    /// `failing` counts from 1; with 0 none fails.
    FailingCall(std::size_t failing, Mode mode, int error);
    ~FailingCall();
    FailingCall(const FailingCall &) = delete;
    FailingCall &operator=(const FailingCall &) = delete;

    std::size_t count() const;
    /// Which one it was; NONE when there were not that many.
    Call struck() const;
};

} // namespace calls
