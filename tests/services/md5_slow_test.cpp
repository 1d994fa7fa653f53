#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>

#include "utilities/services/md5.h"

TEST(Md5, CountsBitsBeyond32) {
    constexpr unsigned int LENGTH = (1u << 30) - 1;  // One byte more carries from the low word.
    const std::unique_ptr<void, decltype(&std::free)> zeros(std::calloc(LENGTH, 1), &std::free);
    MD5 md5;
    md5.update(static_cast<const char*>(zeros.get()), LENGTH);
    md5.update("", 1);
    md5.finalize();
    EXPECT_EQ(md5.hex_digest(), "cd573cfaace07e7949bc0c46028904ff");
}
