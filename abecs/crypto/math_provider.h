#pragma once

/// The big-number provider behind the cryptographic library's RSA.

/// Installs LibTomMath, with numbers that are wiped when they are released, unless a provider is
/// installed already: that one is kept, since numbers of the host may live in it.
void pcl_math_provider_install();

/// Overwrites a number of the installed provider; it holds no secret afterwards and must still be
/// released. Null is ignored.
void pcl_math_wipe(void *number);
