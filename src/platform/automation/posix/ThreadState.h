// What the automation functions keep for each thread.
#pragma once

#include "platform/automation/posix/Locale.h"
#include "platform/automation/posix/Reference.h"

namespace automation {

struct ThreadState
{
    Reference<IErrorInfo> errorInfo;
    ULONG initializations = 0; // calls of CoInitialize that no CoUninitialize has undone
    void (*runPendingEvents)(void* context) = nullptr;
    void* pendingEvents = nullptr; // the context of that call
    UserLocale locale;

    // The calling thread's; null where there is none yet. It goes when the thread ends.
    static ThreadState* find() noexcept;
    // The same, made where there is none; null when memory has run out. The compiler's own thread_local would
    // end the program then.
    static ThreadState* findOrMake() noexcept;
};

} // namespace automation
