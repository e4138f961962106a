// The calls of a handheld's system that a desktop's headers do not have, for a compiler that is to read our handheld parts.
#pragma once

#include <winsock2.h>

#include <windows.h>

constexpr DWORD EVENT_SET = 3;
constexpr DWORD EVENT_RESET = 2;
BOOL EventModify(HANDLE event, DWORD change);
