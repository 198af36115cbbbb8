#pragma once

#include <cstddef>

/// The system's random numbers under the test's control: the functions of the C library that give
/// them, and those that lead around them, are replaced in the whole process.
namespace source {

enum class Mode {
    GOOD,
    FAILING,    ///< there are none
    EMPTY,      ///< each call succeeds with nothing
    INTERRUPTED ///< every second call is interrupted, the others give one byte
};

/// While an object lives the source behaves so, and the random devices cannot be opened.
class Source {
public:
    explicit Source(Mode mode);
    ~Source();
    Source(const Source &) = delete;
    Source &operator=(const Source &) = delete;

    /// What was asked of the system since the beginning.
    std::size_t draws() const;
    std::size_t devicesOpened() const;
    std::size_t looksAtTheClock() const;
};

} // namespace source
