# One folder of src/ is one room: a static library whose headers only the rooms that link it can include.
#
# Includes carry the folder's name ("base/Geometry.h"), yet src/ itself is on no include path: each room gets
# a directory of its own with nothing but a link to its folder in it, and hands on just that one. An include
# of a room that is not linked therefore does not build.
#
#   kasto_room(base SOURCES DebugLog.cpp … USES model PRIVATE_USES PkgConfig::X)
function(kasto_room folder)
    cmake_parse_arguments(ROOM "" "" "SOURCES;USES;PRIVATE_USES" ${ARGN})
    string(REPLACE "/" "_" room ${folder})
    set(door ${CMAKE_BINARY_DIR}/rooms/${room})
    get_filename_component(parent ${door}/${folder} DIRECTORY)
    file(MAKE_DIRECTORY ${parent})
    file(CREATE_LINK ${CMAKE_CURRENT_SOURCE_DIR} ${door}/${folder} SYMBOLIC)

    set(used ${ROOM_USES})
    list(TRANSFORM used PREPEND kasto_ REGEX "^[a-z][a-z0-9_]*$")
    set(privatelyUsed ${ROOM_PRIVATE_USES})
    list(TRANSFORM privatelyUsed PREPEND kasto_ REGEX "^[a-z][a-z0-9_]*$")
    if(ROOM_SOURCES)
        add_library(kasto_${room} STATIC ${ROOM_SOURCES})
        target_include_directories(kasto_${room} PUBLIC ${door})
        target_link_libraries(kasto_${room} PUBLIC ${used} PRIVATE ${privatelyUsed})
    else()
        add_library(kasto_${room} INTERFACE)
        target_include_directories(kasto_${room} INTERFACE ${door})
        target_link_libraries(kasto_${room} INTERFACE ${used})
    endif()
endfunction()

# kasto_test(base LABEL unit SOURCES … USES base): one test program of a folder, run by ctest under a label.
#
# A target of each label, "unit_tests", "ui_tests" and "desktop_tests", builds all test programs that have it.
function(kasto_test name)
    cmake_parse_arguments(TEST "" "LABEL;TIMEOUT" "SOURCES;USES" ${ARGN})
    set(used ${TEST_USES})
    list(TRANSFORM used PREPEND kasto_ REGEX "^[a-z][a-z0-9_]*$")
    if(NOT TEST_TIMEOUT)
        set(TEST_TIMEOUT 60)
    endif()
    add_executable(test_${name} ${TEST_SOURCES})
    target_include_directories(test_${name} PRIVATE ${CMAKE_SOURCE_DIR}/tests)
    target_link_libraries(test_${name} PRIVATE ${used} kasto_test_main GTest::gtest)
    if(NOT TARGET ${TEST_LABEL}_tests)
        add_custom_target(${TEST_LABEL}_tests)
    endif()
    add_dependencies(${TEST_LABEL}_tests test_${name})
    gtest_discover_tests(test_${name} PROPERTIES LABELS ${TEST_LABEL} TIMEOUT ${TEST_TIMEOUT}
        DISCOVERY_TIMEOUT 60)
endfunction()
