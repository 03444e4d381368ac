#include "tests/support/SystemSupport.h"

#include <stdexcept>
#include <stdlib.h>

// clang-format off
#include <windows.h>
#include <psapi.h>
// clang-format on

namespace Support {
namespace {

// Opens a file, and closes it when the result is called.
std::function<void()> open(const boost::filesystem::path& file, DWORD share) {
    const HANDLE handle = ::CreateFileW(file.c_str(), GENERIC_READ, share, nullptr, OPEN_EXISTING,
                                        FILE_FLAG_BACKUP_SEMANTICS, nullptr);
    if (handle == INVALID_HANDLE_VALUE) {
        throw std::runtime_error(file.string() + " cannot be opened");
    }
    return [handle] { ::CloseHandle(handle); };
}

}  // namespace

const bool onWindows = true;

void useTimeZone(const std::string& rules) {
    ::_putenv_s("TZ", rules.c_str());
}

std::size_t peakMemory() {
    PROCESS_MEMORY_COUNTERS counters{};
    ::K32GetProcessMemoryInfo(::GetCurrentProcess(), &counters, sizeof counters);
    return counters.PeakWorkingSetSize;
}

Unprivileged::Unprivileged() : State([] {}) {}
Held::Held(const boost::filesystem::path& file) : State(open(file, FILE_SHARE_READ | FILE_SHARE_WRITE)) {}
FullDisk::FullDisk(const boost::filesystem::path& file) : State(open(file, 0)) {}
Unreadable::Unreadable(const boost::filesystem::path& file) : State(open(file, 0)) {}

Process::Process(const boost::filesystem::path& program, const std::vector<std::string>& arguments) {
    std::wstring line = L'"' + program.native() + L'"';
    for (const std::string& argument : arguments) {
        line += L" \"" + boost::filesystem::path(argument).native() + L'"';
    }
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process{};
    if (!::CreateProcessW(program.c_str(), line.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr,
                          &startup, &process)) {
        throw std::runtime_error(program.string() + " cannot be started");
    }
    ::CloseHandle(process.hThread);
    mHandle = reinterpret_cast<std::intptr_t>(process.hProcess);
}

Process::~Process() {
    if (mHandle != 0) {
        ::TerminateProcess(reinterpret_cast<HANDLE>(mHandle), 9);
        wait();
    }
}

int Process::wait() {
    const auto process = reinterpret_cast<HANDLE>(mHandle);
    DWORD status = 0;
    ::WaitForSingleObject(process, INFINITE);
    ::GetExitCodeProcess(process, &status);
    ::CloseHandle(process);
    mHandle = 0;
    return static_cast<int>(status);
}

}  // namespace Support
