#pragma once

#include <tomcrypt.h>

#include <algorithm>
#include <climits>

/// What stands behind a PclRsaKey, for the files that call the cryptographic library.
struct PclRsaKey {
    // The library takes keys without const, though it only reads them.
    mutable rsa_key key;
};

/// A length as the cryptographic library takes it. It reads numbers with an int for their length;
/// longer than that is cut short, and still far longer than any modulus.
inline unsigned long pcl_rsa_library_length(std::size_t length) {
    return static_cast<unsigned long>(std::min<std::size_t>(length, INT_MAX));
}
