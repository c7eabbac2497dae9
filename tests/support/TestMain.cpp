// Every test program runs in a home of its own, so that no test reads or writes the user's files.

#include "support/TestFolder.h"

#include <gtest/gtest.h>

#include <cstdlib>

// Qt paints larger areas on threads of its own, and its libraries are not built with the thread sanitizer,
// which therefore does not see how they wait for each other. It asks for this by name.
extern "C" const char* __tsan_default_suppressions() {  // NOLINT(bugprone-reserved-identifier)
    return "called_from_lib:libQt6Core.so.6\ncalled_from_lib:libQt6Gui.so.6\n";
}

int main(int argc, char** argv) {
    const kasto::test::TestFolder home;
    setenv("HOME", home.path().c_str(), 1);
    setenv("XDG_CONFIG_HOME", (home / ".config").c_str(), 1);
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
