#include "tests/support/prepared_key.h"

#include "abecs/crypto/rsa_handle.h"
#include "core/memory.h"
#include "core/owned.h"

#include <array>
#include <stdexcept>

// The linker sends the library's generation of key pairs here.
PclRsaKey *realGenerate(std::int32_t size,
                        std::int32_t exponent) asm("__real__Z20pcl_rsa_key_generateii");
PclRsaKey *preparedOrNew(std::int32_t size,
                         std::int32_t exponent) asm("__wrap__Z20pcl_rsa_key_generateii");

namespace {

constexpr std::int32_t SIZE = 256;
constexpr std::int32_t EXPONENT = 65537;
constexpr std::size_t EXPORTED_MAX = 2048;

int inUse = 0;

void require(int status) {
    if (status != CRYPT_OK) {
        throw std::runtime_error(error_to_string(status));
    }
}

class Prepared {
public:
    Prepared() {
        const PclOwned<PclRsaKey, pcl_rsa_key_destroy> pair(realGenerate(SIZE, EXPONENT));
        pcl_rsa_export_public(pair.get(), &m_publicPart);
        require(rsa_export(m_exported.data(), &m_length, PK_PRIVATE, &pair->key));
    }

    const PclRsaPublicKey &publicPart() const { return m_publicPart; }

    PclRsaKey *copy() const {
        auto *pair = static_cast<PclRsaKey *>(pcl_malloc(sizeof(PclRsaKey), 0));
        require(rsa_import(m_exported.data(), m_length, &pair->key));
        return pair;
    }

private:
    PclRsaPublicKey m_publicPart{};
    std::array<unsigned char, EXPORTED_MAX> m_exported{};
    unsigned long m_length = EXPORTED_MAX;
};

const Prepared &prepared() {
    static const Prepared instance;
    return instance;
}

} // namespace

PclRsaKey *preparedOrNew(std::int32_t size, std::int32_t exponent) {
    return inUse > 0 ? prepared().copy() : realGenerate(size, exponent);
}

PreparedKey::PreparedKey() {
    prepared();
    ++inUse;
}

PreparedKey::~PreparedKey() {
    --inUse;
}

const PclRsaPublicKey &PreparedKey::publicPart() {
    return prepared().publicPart();
}
