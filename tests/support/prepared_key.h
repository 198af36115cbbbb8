#pragma once

#include "abecs/crypto/rsa_key.h"

/// Making a key pair takes longer than all the rest of opening a secure session. While one of these
/// lives, the library is given the same pair whenever it asks for a new one. A program that uses
/// this links pinpad_prepared_key.
class PreparedKey {
public:
    PreparedKey();
    ~PreparedKey();
    PreparedKey(const PreparedKey &) = delete;
    PreparedKey &operator=(const PreparedKey &) = delete;

    static const PclRsaPublicKey &publicPart();
};
