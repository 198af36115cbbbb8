#pragma once

/// The cryptographic library's registry.
///
/// The primitives are registered once when this library is loaded. The registry and the big-number
/// provider belong to the whole process: what a host that uses the same cryptographic library has
/// registered or installed before is found and kept.

/// Installs LibTomMath as the big-number provider unless the host has already installed one,
/// registers the generator "sprng", the hash "sha1" and the cipher "aes", and remembers their
/// indices. The generator draws from the system alone (random.h); another that the host has
/// registered under its name is not used. Runs by itself at load; running it again changes nothing.
/// Raises PCL_RESULT_RUNTIME_ERROR "Error registering SPRNG", "Error registering SHA-1" or
/// "Error registering AES".
void pcl_crypto_init();

/// The indices in the cryptographic library's registry, -1 when the registration failed.
int pcl_crypto_sprng_index();
int pcl_crypto_sha1_index();
int pcl_crypto_aes_index();

/// True when the status of a call to the cryptographic library is its success; otherwise raises
/// PCL_RESULT_CRYPT_ERROR with the library's text and gives false when the handler returns.
bool pcl_crypto_succeeded(int status);
