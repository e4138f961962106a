// The system's headers, without their macros min and max and with wide names.
#pragma once

#ifndef NOMINMAX
#define NOMINMAX
#endif
#ifndef UNICODE
#define UNICODE
#endif
#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif

#include <winsock2.h>  // before windows.h, which would include its predecessor

#include <windows.h>
#include <ws2tcpip.h>
