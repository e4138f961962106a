// What stands in front of our headers in a Windows host: the system's header, which brings macros such as IN and OUT, and
// the macros of other frameworks, min, max and ERROR, which the standard library of this compiler itself bears only
// behind its headers.
#pragma once

#include <windows.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <bit>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <deque>
#include <fstream>
#include <functional>
#include <limits>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <thread>
#include <vector>

#undef min
#undef max
#undef ERROR
#undef IN
#undef OUT
#define min(a, b) (((a) < (b)) ? (a) : (b))
#define max(a, b) (((a) > (b)) ? (a) : (b))
#define ERROR 0
#define IN
#define OUT
