#include "utilities/services/md5.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "tests/support/report_of.h"

namespace {

const struct {
    std::string message, digest;
} EXAMPLES[] = {
    {"", "d41d8cd98f00b204e9800998ecf8427e"},
    {"a", "0cc175b9c0f1b6a831c399e269772661"},
    {"abc", "900150983cd24fb0d6963f7d28e17f72"},
    {"message digest", "f96b697d7cb7938d525a2f31aaf161d0"},
    {"abcdefghijklmnopqrstuvwxyz", "c3fcd3d76192e4007dfb496cca67e13b"},
    {"ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789",
     "d174ab98d277d9f5a5611c2c9f419d9f"},
    {"12345678901234567890123456789012345678901234567890123456789012345678901234567890",
     "57edf4a22be3c955ac49da2e2107b67a"},
    {std::string(55, 'a'), "ef1772b6dff9a122358552954ad0df65"},
    {std::string(56, 'a'), "3b0c8ac703f828b04c6c197006d17218"},
    {std::string(64, 'a'), "014842d480b571495a4a0363793f7367"},
    {std::string(1'000'000, 'a'), "7707d6ae4e027c70eea2a935c2296f21"},
};

const unsigned char* Unsigned(const std::string& text) {
    return reinterpret_cast<const unsigned char*>(text.data());
}

}  // namespace

TEST(Md5, ReturnsTheDigestForEveryOverloadAndSplit) {
    for (const auto& [message, digest] : EXAMPLES) {
        const auto size = static_cast<unsigned int>(message.size());
        EXPECT_EQ(MD5(message.data(), size).hex_digest(), digest);
        EXPECT_EQ(MD5(Unsigned(message), size).hex_digest(), digest);
        for (unsigned int split = 0; split <= std::min(size, size > 100 ? 2u : 100u); ++split) {
            MD5 original, assigned("x", 1);
            original.update(Unsigned(message), split);
            MD5 copied(original);
            assigned = original;
            original.update("what the copies don't see", 25);
            for (MD5* md5 : {&copied, &assigned}) {
                md5->update(static_cast<const char*>(nullptr), 0);
                md5->update(message.data() + split, size - split);
                md5->finalize();
                ASSERT_EQ(md5->hex_digest(), digest) << "split at " << split;
            }
        }
    }
}

TEST(Md5, ReportsCallsInTheWrongStateAndStaysAsItWas) {
    const std::string report = Asserted("md5", {"(false)"});
    MD5 md5;
    md5.update("ab", 2);
    unsigned char raw[16] = {1, 2, 3};
    EXPECT_EQ(ReportOf([&] { md5.raw_digest(raw); }), report);
    EXPECT_EQ(raw[2], 3);
    EXPECT_EQ(ReportOf([&] { EXPECT_EQ(md5.hex_digest(), ""); }), report);
    md5.update("c", 1);
    md5.finalize();
    EXPECT_EQ(ReportOf([&] { md5.update("d", 1); }), report);
    EXPECT_EQ(ReportOf([&] { md5.update(Unsigned(""), 0); }), report);
    EXPECT_EQ(ReportOf([&] { md5.finalize(), md5.raw_digest(raw); }), "");
    EXPECT_EQ(std::string(raw, raw + 4), "\x90\x01\x50\x98");
    EXPECT_EQ(md5.hex_digest(), EXAMPLES[2].digest);
}
