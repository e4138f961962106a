#include "vkcomm/platform/win32/overlapped.h"

namespace vkcomm {

#ifdef UNDER_CE

DWORD OverlappedCall::finish(HANDLE /*file*/, bool isDone, HANDLE /*wake*/, DWORD& /*count*/) {
    return isDone ? ERROR_SUCCESS : ::GetLastError();
}

void OverlappedCall::cancel(HANDLE /*file*/) {}

DWORD OverlappedCall::result(HANDLE /*file*/, DWORD& /*count*/) { return ERROR_SUCCESS; }

#else

DWORD OverlappedCall::finish(HANDLE file, bool isDone, HANDLE wake, DWORD& count) {
    if (const DWORD code = isDone ? ERROR_SUCCESS : ::GetLastError();
        code != ERROR_SUCCESS && code != ERROR_IO_PENDING)
        return code;
    const HANDLE awaited[] = {m_ended.get(), wake};
    if (::WaitForMultipleObjects(2, awaited, FALSE, INFINITE) != WAIT_OBJECT_0) cancel(file);
    return result(file, count);
}

void OverlappedCall::cancel(HANDLE file) { ::CancelIoEx(file, &m_overlapped); }

DWORD OverlappedCall::result(HANDLE file, DWORD& count) {
    const bool isDone = ::GetOverlappedResult(file, &m_overlapped, &count, TRUE) != 0;
    return isDone ? ERROR_SUCCESS : ::GetLastError();
}

#endif

}  // namespace vkcomm
