#include "ZuVersion.h"

#include <gtest/gtest.h>

#include "ZuDateTime.h"

namespace zustd {
namespace {

TEST(Version, buildKinds_areSaidBehindTheNumbers) {
    Version version{1, 8};
    EXPECT_EQ(version.toDisplayText(), L"1.8.852");
    version.kind = BuildKind::Beta;
    EXPECT_EQ(version.toDisplayText(), L"1.8.852 BETA");
    version.kind = BuildKind::Debug;
    EXPECT_EQ(version.toDisplayText(), L"1.8.852 DEBUG");
    version.build = -3;
    EXPECT_EQ(version.toText(), L"1.8.-3");
}

TEST(DateTime, fields_orderByTimeAlsoAsFileStamps) {
    const DateTime times[] = {{2016, 9, 30, 23, 59, 59, 999}, {2016, 10, 1},
                              {2016, 10, 1, 0, 0, 0, 9},      {2016, 10, 1, 0, 0, 0, 10},
                              {2016, 10, 1, 0, 0, 2},         {2016, 10, 1, 0, 1}};
    for (std::size_t i = 1; i < std::size(times); ++i) {
        EXPECT_LT(times[i - 1], times[i]) << i;
        EXPECT_LT(times[i - 1].toFileStamp(), times[i].toFileStamp()) << i;
    }
    EXPECT_EQ(times[3].toFileStamp(), L"2016-10-01-00;00;00;010");
}

}  // namespace
}  // namespace zustd
