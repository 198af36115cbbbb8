#pragma once

/// The big-number provider behind the cryptographic library's RSA.

/// Installs LibTomMath unless a provider is installed already: that one is kept, since numbers of
/// the host may live in it. Numbers of LibTomMath are wiped when they are released, until this
/// library is unloaded. What LibTomMath itself frees while it calculates is out of reach.
void pcl_math_provider_install();

/// Overwrites a number of the installed provider; it holds no secret afterwards and must still be
/// released. Null is ignored.
void pcl_math_wipe(void *number);
