#include "digest.h"

#include <charconv>
#include <stdexcept>

#ifdef CATALOG_WITH_SHA256
#include <openssl/evp.h>

struct Hasher::Sha256 {
    Sha256() : context(EVP_MD_CTX_new(), EVP_MD_CTX_free) {
        // Looked up once: each look-up by name takes longer than a small file.
        static EVP_MD* const algorithm = EVP_MD_fetch(nullptr, "SHA256", nullptr);
        Check(context && algorithm != nullptr &&
              EVP_DigestInit_ex2(context.get(), algorithm, nullptr) == 1);
    }

    void Update(const char* data, std::size_t size) {
        Check(EVP_DigestUpdate(context.get(), data, size) == 1);
    }

    void Finish(std::array<char, 32>& digest) {
        auto* const bytes = reinterpret_cast<unsigned char*>(digest.data());
        Check(EVP_DigestFinal_ex(context.get(), bytes, nullptr) == 1);
    }

private:
    static void Check(bool isDone) {
        if (!isDone)
            throw std::runtime_error("SHA-256 can't be computed");
    }

    std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)> context;
};
#else
struct Hasher::Sha256 {
    Sha256() { throw std::runtime_error("this program was built without SHA-256"); }
    void Update(const char*, std::size_t) {}
    void Finish(std::array<char, 32>&) {}
};
#endif

bool IsSameContent(const Digests& one, const Digests& other) {
    return one.md5 == other.md5 &&
           (!one.hasSha256 || !other.hasSha256 || one.sha256 == other.sha256);
}

Hasher::Hasher(bool withSha256) : m_Sha256(withSha256 ? std::make_unique<Sha256>() : nullptr) {}

Hasher::~Hasher() = default;

void Hasher::Update(const char* data, std::size_t size) {
    m_Md5.update(data, static_cast<unsigned int>(size));
    if (m_Sha256)
        m_Sha256->Update(data, size);
}

Digests Hasher::Finish() {
    Digests digests;
    m_Md5.finalize();
    m_Md5.raw_digest(reinterpret_cast<unsigned char*>(digests.md5.data()));
    digests.hasSha256 = m_Sha256 != nullptr;
    if (m_Sha256)
        m_Sha256->Finish(digests.sha256);
    return digests;
}

bool ReadHex(const std::string& hex, char* bytes, std::size_t size) {
    if (hex.size() != 2 * size)
        return false;
    for (std::size_t i = 0; i < size; ++i) {
        unsigned char byte = 0;
        const char* const digits = &hex[2 * i];
        const auto [end, error] = std::from_chars(digits, digits + 2, byte, 16);
        if (error != std::errc() || end != digits + 2)
            return false;
        bytes[i] = static_cast<char>(byte);
    }
    return true;
}
