#include "utils/QelOS.h"

#ifndef _WIN32
#include <cerrno>
#include <csignal>
#include <sys/types.h>
#include <unistd.h>
#endif

SIZE QelOS::GetScreenSize() {
    SIZE size;
#ifdef _WIN32
    size.cx = GetSystemMetrics(SM_CXSCREEN);
    size.cy = GetSystemMetrics(SM_CYSCREEN);
#else
    size.cx = 1920;
    size.cy = 1080;
#endif
    return size;
}

unsigned long QelOS::CurrentProcessId() {
#ifdef _WIN32
    return GetCurrentProcessId();
#else
    return static_cast<unsigned long>(::getpid());
#endif
}

bool QelOS::IsProcessRunning(unsigned long nProcessId) {
    if (nProcessId == 0) return false;
#ifdef _WIN32
    HANDLE hProcess = OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION, FALSE, static_cast<DWORD>(nProcessId));
    if (hProcess == nullptr) return GetLastError() == ERROR_ACCESS_DENIED;
    DWORD dwExitCode = 0;
    const bool bRunning = GetExitCodeProcess(hProcess, &dwExitCode) && dwExitCode == STILL_ACTIVE;
    CloseHandle(hProcess);
    return bRunning;
#else
    const auto pid = static_cast<pid_t>(nProcessId);
    if (pid <= 0 || static_cast<unsigned long>(pid) != nProcessId) return false;
    return ::kill(pid, 0) == 0 || errno == EPERM;
#endif
}
