#pragma once

#include <cstdint>

/// What the library was built from.

/// "YYYY-MM-DD HH:MM:SS UTC".
const char *pinpad_build_date();

/// The revision of the source tree, 40 lower-case hexadecimal digits; all zeros when the library
/// was not built from a repository.
const char *pinpad_source_revision();

/// "major.minor.patch-changes-grevision", the revision cut to 7 digits.
const char *pinpad_version();

/// The build flag: 0 or 1.
std::int32_t pinpad_build_flag();

/// What a stored build flag reads as: 0 for 0, 1 for 1, -1 for any other number.
std::int32_t pinpad_build_flag_of(std::int32_t stored);
