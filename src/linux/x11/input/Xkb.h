#pragma once

// xcb/xkb.h has a field named `explicit`, which is a keyword in C++.
#define explicit explicit_
#include <xcb/xkb.h>
#undef explicit
