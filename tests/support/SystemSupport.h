#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include <boost/filesystem/path.hpp>

namespace Support {

/// Whether there are a registry, short paths without blanks, and a folder of application data that no
/// environment variable moves.
extern const bool onWindows;

/// Sets the variable TZ for the run-time. Of rules as "EST5EDT,M3.2.0,M11.1.0", Windows reads the names and
/// the offset only and changes as in the United States since 2007.
void useTimeZone(const std::string& rules);

/// The most memory that this process ever used at once, in bytes.
std::size_t peakMemory();

/// Something that holds while the object lives.
class State {
  public:
    explicit State(std::function<void()> end) : mEnd(std::move(end)) {}
    ~State() { mEnd(); }
    State(const State&) = delete;
    State& operator=(const State&) = delete;

  private:
    std::function<void()> mEnd;
};

/// What this process may do to files goes by their modes even if root runs the tests. Where the system keeps
/// no modes, nothing changes.
struct Unprivileged : State {
    Unprivileged();
};

/// A file or a directory can be neither renamed nor removed: it is open on Windows, elsewhere its directory
/// is write-protected (which `Unprivileged` makes count).
struct Held : State {
    explicit Held(const boost::filesystem::path& file);
};

/// No file grows beyond a few bytes; on Windows, the file is open for nobody else.
struct FullDisk : State {
    explicit FullDisk(const boost::filesystem::path& file);
};

/// A file is there but cannot be read, whoever runs the test: it is open for nobody else, or a link that
/// leads nowhere.
struct Unreadable : State {
    explicit Unreadable(const boost::filesystem::path& file);
};

/// A program that runs beside this process and is ended at once, wherever it is, when the object goes away.
class Process {
  public:
    /// Starts the program; `std::runtime_error` when that fails.
    Process(const boost::filesystem::path& program, const std::vector<std::string>& arguments);
    ~Process();
    Process(const Process&) = delete;
    Process& operator=(const Process&) = delete;

    /// Waits until it has ended, and tells its exit status.
    int wait();

  private:
    std::intptr_t mHandle = 0;  // 0 when it has ended
};

}  // namespace Support
