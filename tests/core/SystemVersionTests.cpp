#include "VantrelCore/SystemVersion.h"

#include <gtest/gtest.h>

#include <sys/utsname.h>

using vantrel::SystemVersion;

TEST(SystemVersion, ReadsTheLeadingNumbersOfAKernelRelease) {
    EXPECT_EQ(SystemVersion::fromKernelRelease("6.1.0-18-amd64"), (SystemVersion{6, 1, 0}));
    EXPECT_EQ(SystemVersion::fromKernelRelease("5.15.153.1-microsoft-standard-WSL2"),
              (SystemVersion{5, 15, 153}));
    EXPECT_EQ(SystemVersion::fromKernelRelease("6.8.12"), (SystemVersion{6, 8, 12}));
    EXPECT_EQ(SystemVersion::fromKernelRelease("6.9"), (SystemVersion{6, 9, 0}));
    EXPECT_EQ(SystemVersion::fromKernelRelease("6.10-rc1"), (SystemVersion{6, 10, 0}));
    EXPECT_EQ(SystemVersion::fromKernelRelease("4"), (SystemVersion{4, 0, 0}));
    EXPECT_EQ(SystemVersion::fromKernelRelease(""), (SystemVersion{0, 0, 0}));
    EXPECT_EQ(SystemVersion::fromKernelRelease("linux"), (SystemVersion{0, 0, 0}));
    EXPECT_EQ(SystemVersion::fromKernelRelease("99999999999999999999.1"), (SystemVersion{0, 0, 0}));
}

TEST(SystemVersion, RunningMatchesUname) {
    utsname names{};
    ASSERT_EQ(uname(&names), 0);
    const SystemVersion running = SystemVersion::running();
    EXPECT_EQ(running, SystemVersion::fromKernelRelease(names.release));
    EXPECT_GE(running.majorVersion, 2); // any kernel that runs Qt 6
}
