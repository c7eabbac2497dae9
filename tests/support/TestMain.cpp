// Every test program runs in a home of its own, so that no test reads or writes the user's files.

#include "support/TestFolder.h"

#include <gtest/gtest.h>

#include <cstdlib>

int main(int argc, char** argv) {
    const kasto::test::TestFolder home;
    setenv("HOME", home.path().c_str(), 1);
    setenv("XDG_CONFIG_HOME", (home / ".config").c_str(), 1);
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
