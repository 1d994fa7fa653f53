// The digest of one message, from 64 bytes to 16 MiB, beside that of a widely used cryptographic
// library: by its one-call function, and by its separate functions on a reused context.
#include "utilities/services/md5.h"

#include <benchmark/benchmark.h>
#ifdef UTILITIES_HAS_OPENSSL
#include <openssl/evp.h>
#endif

#include <vector>

namespace {

constexpr unsigned int DIGEST_SIZE = 16;

template <class HASH>
void MeasureDigest(benchmark::State& state, HASH hash) {
    const std::vector<unsigned char> message(static_cast<std::size_t>(state.range(0)), 0x5a);
    unsigned char digest[DIGEST_SIZE];
    for (auto _ : state) {
        hash(message.data(), static_cast<unsigned int>(message.size()), digest);
        benchmark::DoNotOptimize(digest);
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * state.range(0));
}

void MD5_Utilities(benchmark::State& state) {
    MeasureDigest(state, [](const unsigned char* message, unsigned int size,
                            unsigned char* digest) { MD5(message, size).raw_digest(digest); });
}
BENCHMARK(MD5_Utilities)->Arg(64)->Arg(4096)->Arg(16 << 20);

#ifdef UTILITIES_HAS_OPENSSL
void MD5_OpenSslOneCall(benchmark::State& state) {
    MeasureDigest(state,
                  [](const unsigned char* message, unsigned int size, unsigned char* digest) {
                      EVP_Digest(message, size, digest, nullptr, EVP_md5(), nullptr);
                  });
}
BENCHMARK(MD5_OpenSslOneCall)->Arg(64)->Arg(4096)->Arg(16 << 20);

void MD5_OpenSslReusedContext(benchmark::State& state) {
    EVP_MD_CTX* context = EVP_MD_CTX_new();
    EVP_MD* algorithm = EVP_MD_fetch(nullptr, "MD5", nullptr);
    MeasureDigest(state,
                  [=](const unsigned char* message, unsigned int size, unsigned char* digest) {
                      EVP_DigestInit_ex2(context, algorithm, nullptr);
                      EVP_DigestUpdate(context, message, size);
                      EVP_DigestFinal_ex(context, digest, nullptr);
                  });
    EVP_MD_free(algorithm);
    EVP_MD_CTX_free(context);
}
BENCHMARK(MD5_OpenSslReusedContext)->Arg(64)->Arg(4096)->Arg(16 << 20);
#endif

}  // namespace
