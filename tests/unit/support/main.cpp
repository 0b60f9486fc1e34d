#include "support/PrivateIpcNamespace.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

#include <gtest/gtest.h>

int main(int argc, char **argv)
{
    testing::InitGoogleTest(&argc, argv);
    if (!GTEST_FLAG_GET(list_tests) && !enterPrivateIpcNamespace()) {
        std::fprintf(stderr,
                     "These tests use message queues of fixed keys and need an IPC namespace of "
                     "their own, which this system refuses (%s). Run them as root.\n",
                     std::strerror(errno));
        return 1;
    }
    return RUN_ALL_TESTS();
}
