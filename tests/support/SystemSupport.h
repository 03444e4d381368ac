#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include <boost/filesystem/path.hpp>

namespace Support {

/// Whether there are a registry, short paths without blanks, and a folder of application data that no
/// environment variable moves.
extern const bool onWindows;

/// Writes a text under HKEY_LOCAL_MACHINE, making the key when it is missing; removes the key with all that
/// it holds. `std::runtime_error` when that fails. Where the system has no registry, nothing happens.
void writeLocalMachineText(const std::string& key, const std::string& valueName, const std::string& text);
void deleteLocalMachineKey(const std::string& key);

/// Sets the variable TZ for the run-time of this process. Give rules of the form "EST5EDT,M3.2.0,M11.1.0":
/// Windows reads the names and the offset only and changes as in the United States since 2007.
void useTimeZone(const std::string& rules);

/// While it lives, what this process may do to files goes by their modes even if root runs the tests. Where
/// the system keeps no modes, nothing changes.
class Unprivileged {
  public:
    Unprivileged();
    ~Unprivileged();
    Unprivileged(const Unprivileged&) = delete;
    Unprivileged& operator=(const Unprivileged&) = delete;

  private:
    std::intptr_t mUser;
};

/// While it lives, a file or a directory can be neither renamed nor removed: on Windows because it is open,
/// elsewhere because its directory is write-protected (which `Unprivileged` makes count).
class Held {
  public:
    explicit Held(const boost::filesystem::path& file);
    ~Held();
    Held(const Held&) = delete;
    Held& operator=(const Held&) = delete;

  private:
    boost::filesystem::path mDirectory;
    std::intptr_t mHandle = 0;
};

/// A program that runs beside this process, with its environment. It is killed when the object goes away.
class Process {
  public:
    /// Starts the program; `std::runtime_error` when that fails.
    Process(const boost::filesystem::path& program, const std::vector<std::string>& arguments);
    ~Process();
    Process(const Process&) = delete;
    Process& operator=(const Process&) = delete;

    /// Whether it has not ended yet.
    bool isRunning();

    /// Ends it at once, wherever it is, as the user or the system can do at any time.
    void kill();

    /// Waits until it has ended, and tells its exit status.
    int wait();

  private:
    std::intptr_t mHandle = 0;  // 0 when it has ended
    int mStatus = -1;
};

/// While it lives, no file grows beyond a few bytes: the disk is full. Where the system cannot be told so, it
/// is the file that is open for nobody else.
class FullDisk {
  public:
    explicit FullDisk(const boost::filesystem::path& file);
    ~FullDisk();
    FullDisk(const FullDisk&) = delete;
    FullDisk& operator=(const FullDisk&) = delete;

  private:
    std::intptr_t mBefore = 0;
};

/// The most memory that this process ever used at once, in bytes.
std::size_t peakMemory();

/// While it lives, a file is there but cannot be read, whoever runs the test: on Windows because it is open
/// for nobody else, elsewhere because a link that leads nowhere stands in its place.
class Unreadable {
  public:
    explicit Unreadable(const boost::filesystem::path& file);
    ~Unreadable();
    Unreadable(const Unreadable&) = delete;
    Unreadable& operator=(const Unreadable&) = delete;

  private:
    boost::filesystem::path mFile;
    std::intptr_t mHandle = 0;
};

}  // namespace Support
