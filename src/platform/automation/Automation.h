// The automation types and functions: the system's own on Windows, this project's on POSIX.
// Code above this header is the same on both systems.
#pragma once

#ifdef _WIN32
#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>

#include <oaidl.h>
#include <oleauto.h>
#else
#include "platform/automation/posix/AutomationTypes.h"
#endif
