// Runs the tests of a program in a private root. Listing them needs none, so that a build can list them anywhere.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/private_root.h"

int main(int argc, char** argv) {
    testing::InitGoogleMock(&argc, argv);
    if (!GTEST_FLAG_GET(list_tests)) {
        enter_private_root();
    }
    return RUN_ALL_TESTS();
}
