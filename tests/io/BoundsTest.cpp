#include <gtest/gtest.h>

#include <cstdint>

#include <qzm/io/MemFile.h>
#include <qzm/io/internal/Bounds.h>

using QZM::internal::kPlausibleBytes;
using QZM::internal::PlausibleAllocation;

TEST(Bounds, AllocationsBeyond64MiBNeedTheirDataInTheStream) {
    QZMMemFile file(16, QZMResFile::READ);
    EXPECT_TRUE(PlausibleAllocation(file, kPlausibleBytes));
    EXPECT_TRUE(PlausibleAllocation(file, kPlausibleBytes, 0));
    EXPECT_FALSE(PlausibleAllocation(file, kPlausibleBytes + 1));
    // 16 bytes at 2^23 bytes each fill 128 MiB, one more byte is beyond them.
    const uint64_t dense = uint64_t(1) << 23;
    EXPECT_TRUE(PlausibleAllocation(file, 16 * dense, dense));
    EXPECT_FALSE(PlausibleAllocation(file, 16 * dense + 1, dense));
    // A saturated size is absurd at any expansion.
    EXPECT_FALSE(PlausibleAllocation(file, UINT64_MAX, 1024));
    EXPECT_FALSE(PlausibleAllocation(file, UINT64_MAX - 5, 8));
}
