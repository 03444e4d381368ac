#include "base/FileManager.h"

#include <cstdint>
#include <functional>
#include <future>
#include <memory>
#include <set>
#include <string>

#include <boost/filesystem/exception.hpp>
#include <boost/filesystem/operations.hpp>

#include "base/NewDirectory.h"
#include "base/platform/FileSystem.h"

#include "gtest/gtest.h"
#include "tests/support/ScratchSupport.h"
#include "tests/support/SystemSupport.h"

#if defined(_WIN32)
#include "base/BaseException.h"
#include "base/platform/windows/Wide.h"
#else
#include <sys/stat.h>
#endif

namespace {

namespace fs = boost::filesystem;
namespace FileManager = Base::FileManager;
using FileManager::readFile;
using FileManager::replaceFile;

using Names = std::set<std::string>;

class FileManagerTest : public testing::Test {
  protected:
    ~FileManagerTest() override { fs::remove_all(Base::Platform::reachablePath(deepFolder())); }

    fs::path deepFolder() const { return folder / std::string(200, 'd'); }

    Names names() const { return Support::namesIn(folder); }

    fs::path make(const fs::path& name, std::string_view content) const {
        replaceFile(folder / name, content);
        return folder / name;
    }

    // The replacement fails with an error that names the target, and nothing has changed in the folder.
    void expectRefusal(const fs::path& target, const std::string& content = "new") const {
        const Names before = names();
        try {
            replaceFile(target, content);
            ADD_FAILURE() << target << " was replaced";
        } catch (const fs::filesystem_error& failure) {
            EXPECT_EQ(failure.path1(), target);
            EXPECT_TRUE(failure.code()) << failure.what();
        }
        EXPECT_EQ(names(), before);
    }

    const Support::Scratch scratch;
    const fs::path& folder = scratch.folder();
};

TEST_F(FileManagerTest, ReplacesTheWholeContentUnderAnyName) {
    const std::string large = std::string("\0\r\n\x1a\xff", 5) + std::string(3'000'000, 'x');
    fs::create_directory(Base::Platform::reachablePath(deepFolder()));
    for (const fs::path& file :
         {folder / "plain.dat", folder / "mit Blank, Übermaß und 日本.dat",
          folder / (std::string(240, 'n') + ".dat"), deepFolder() / std::string(220, 'l')}) {
        for (const std::string& content : {std::string(), large, std::string("short")}) {
            replaceFile(file, content);
            EXPECT_TRUE(readFile(file) == content) << file;
        }
        EXPECT_TRUE(FileManager::exists(file) && FileManager::isReadable(file)) << file;
    }
    EXPECT_EQ(names().size(), 4U);
    const fs::path before = FileManager::workDirectory();
    FileManager::changeWorkDirectory(folder);
    replaceFile("relative.dat", "here");
    FileManager::changeWorkDirectory(before);
    EXPECT_EQ(readFile(folder / "relative.dat"), "here");
}

TEST_F(FileManagerTest, RefusesWhatItCannotReplace) {
    fs::create_directory(folder / "directory");
    expectRefusal(folder / "directory");
    expectRefusal(folder / "missing" / "file");
    for (const bool there : {true, false}) {
        const fs::path name = folder / (there ? "directory" : "missing");
        EXPECT_THROW(readFile(name), fs::filesystem_error);
        EXPECT_EQ(FileManager::isReadable(name), there);
        EXPECT_EQ(FileManager::isExecutable(name), there);
    }
    const std::size_t limit = Base::FileContent::sizeLimit;
    EXPECT_THROW(replaceFile(folder / "large", std::string(limit + 1, 'x')), fs::filesystem_error);
    Base::FileState state;
    FileManager::replaceFile(folder / "large", "x", state);
    fs::resize_file(folder / "large", limit + 1);
    EXPECT_THROW(readFile(folder / "large"), fs::filesystem_error);
    EXPECT_THROW(FileManager::replaceFile(folder / "large", "y", state), fs::filesystem_error);
    EXPECT_EQ(fs::file_size(folder / "large"), limit + 1) << "it cannot be compared, so it is left";
}

TEST_F(FileManagerTest, RemovesWhatKilledReplacementsLeftAndNothingElse) {
    Names expected = {".a.dat.x-1.kymtmp", ".a.dat.1-.kymtmp", ".a.dat.1-1.kymtm", ".a.dat.b.1-1.kymtmp",
                      ".b.dat.1-1.kymtmp"};
    for (const std::string& name : expected) {
        scratch.write(name, "x");
    }
    scratch.write(".a.dat.4711-1.kymtmp", "left behind");
    boost::system::error_code error;
    Base::Platform::ReplacementFile alive(folder / ".a.dat.4711-2.kymtmp", error);
    ASSERT_FALSE(error) << error.message();
    replaceFile(folder / "a.dat", "one");
    expected.insert({"a.dat", ".a.dat.4711-2.kymtmp"});
    EXPECT_EQ(names(), expected);
    alive.write("two", error);
    alive.replace(folder / "a.dat", error);
    EXPECT_FALSE(error) << error.message();
    EXPECT_EQ(readFile(folder / "a.dat"), "two");
}

TEST_F(FileManagerTest, KeepsOneCopyOfEveryDamagedContent) {
    const fs::path file = make("a.dat", "damaged once");
    FileManager::noteDamaged(folder / "." / "x" / ".." / "a.dat");
    for (const std::string next : {"damaged again", "damaged once", "good", "better"}) {
        replaceFile(file, next);
        if (next.starts_with("damaged")) {
            FileManager::noteDamaged(file);
        }
    }
    EXPECT_EQ(names(), (Names{"a.dat", "a.dat.damaged", "a.dat.damaged.1"}));
    EXPECT_EQ(readFile(folder / "a.dat.damaged"), "damaged once");
    EXPECT_EQ(readFile(folder / "a.dat.damaged.1"), "damaged again");
    EXPECT_EQ(readFile(file), "better");

    const fs::path tooLong = make(std::string(250, 'n'), "no name is left for the copy");
    FileManager::noteDamaged(tooLong);
    for (int time = 0; time < 2; ++time) {
        expectRefusal(tooLong);
        EXPECT_EQ(readFile(tooLong), "no name is left for the copy");
    }
}

TEST_F(FileManagerTest, RemembersDamageThroughFailuresAndNewNames) {
    fs::create_directory(folder / "first");
    const fs::path file = make("first/b.dat", "damaged");
    FileManager::noteDamaged(file);
    fs::rename(folder / "first", folder / "away");
    expectRefusal(file);
    fs::rename(folder / "away", folder / "first");
    FileManager::rename(folder / "first", folder / "second");
    replaceFile(folder / "second/b.dat", "new");
    EXPECT_EQ(readFile(folder / "second/b.dat.damaged"), "damaged");
}

TEST_F(FileManagerTest, TellsWhatIsMissingFromWhatCannotBeReached) {
    const int noAnswer = Support::onWindows ? 53 : 112;  // of a server
    EXPECT_FALSE(Base::Platform::meansMissing({noAnswer, boost::system::system_category()}));
    const fs::path huge = make("huge", "");
    EXPECT_TRUE(FileManager::isMissing(huge / "file"));
    EXPECT_TRUE(FileManager::isMissing(folder / "none" / "file"));
    EXPECT_FALSE(FileManager::isMissing(huge));
    fs::resize_file(huge, (std::uintmax_t{1} << 30U) + 1);
    EXPECT_THROW(readFile(huge), fs::filesystem_error);
}

TEST_F(FileManagerTest, RenamesToLongNamesAndInLetterCase) {
    fs::create_directory(folder / "empty");
    fs::create_directories(folder / "directory/sub");
    const fs::path longName = deepFolder() / std::string(200, 'n');
    fs::create_directory(Base::Platform::reachablePath(deepFolder()));
    FileManager::rename(folder / "directory", longName);
    FileManager::rename(folder / "empty", folder / "EMPTY");
    EXPECT_TRUE(FileManager::exists(longName / "sub") && FileManager::exists(folder / "EMPTY"));
}

TEST_F(FileManagerTest, RemovesDirectoriesOfAnyDepth) {
    make("outside", "stays");
    const fs::path tree = folder / "tree";
    const fs::path deep = tree / std::string(150, 'a') / std::string(150, 'b');
    fs::create_directories(Base::Platform::boundlessPath(deep));
    fs::create_directories(tree / "empty");
    replaceFile(deep / "file", "x");
    FileManager::setPermissions(make("tree/read-only", "x"), 0444);
    if (!Support::onWindows) {  // where every user may make links
        fs::create_directory_symlink(folder, tree / "link");
    }
    FileManager::removeAll(tree, "first of all, if there were one");
    FileManager::removeAll(tree);
    FileManager::removeAll("");
    EXPECT_EQ(names(), Names{"outside"});
}

TEST_F(FileManagerTest, ANewDirectoryAppearsWholeAndOutlivesNoKill) {
    const fs::path target = folder / "nx4";
    make("nx4.4711-1.kymdir", "not one of them");
    fs::create_directories(folder / ".nx4.4711-1.kymdir/sub");
    make(".nx4.4711-1.kymdir/sub/file", "left behind");
    make(".nx4.4711-2.kymtmp", "left behind before the directory was made");
    fs::create_directory(folder / ".nx5.4711-1.kymdir");
    Base::NewDirectory other(target);
    Base::NewDirectory made(target);
    EXPECT_FALSE(exists(target));
    replaceFile(made.path() / "file", "new");
    {
        const Base::NewDirectory given(target);
        EXPECT_TRUE(is_directory(given.path()));
        EXPECT_TRUE(is_directory(other.path())) << "its process lives";
    }
    made.finish();
    EXPECT_EQ(readFile(target / "file"), "new");
    EXPECT_THROW(other.finish(), fs::filesystem_error);
    EXPECT_THROW(Base::NewDirectory(folder / "missing/nx4"), fs::filesystem_error);
    const fs::path left = other.path().filename();
    EXPECT_EQ(names(), (Names{"nx4", "nx4.4711-1.kymdir", ".nx5.4711-1.kymdir", left.string(),
                              fs::path(left).replace_extension(".kymtmp").string()}));
}

TEST(FileNames, AreExecutableByTheirExtension) {
    const struct {
        const char *name, *extensions;
        bool executable;
    } cases[] = {{"UG.Cmd", "", true},          {"ug.py", "", false},   {"ug.py", ".EXE;.PY", true},
                 {"ug.exe", ".PY", false},      {"ug", ";.EXE", false}, {"ug.exe. .", "", true},
                 {"ug.txt. ", ".;.EXE", false}, {"exe", "", false},     {".exe", "", true},
                 {"a.exe\\b", "", false},       {"...", ".EXE", false}, {"ug.bat.txt", "", false}};
    for (const auto& [name, extensions, executable] : cases) {
        EXPECT_EQ(FileManager::hasExecutableExtension(name, extensions), executable)
            << name << ' ' << extensions;
    }
    EXPECT_EQ(FileManager::nativeText("a/b\\c//d"), "a\\b\\c\\\\d");
}

#if defined(_WIN32)

// What waits for the holder, and does its work when the holder lets go.
template <typename State>
void whileHeld(
    const fs::path& file, const std::function<void()>& action,
    const std::function<void()>& meanwhile = [] {}) {
    auto held = std::make_unique<State>(file);
    std::future<void> done = std::async(std::launch::async, action);
    EXPECT_EQ(done.wait_for(std::chrono::milliseconds(200)), std::future_status::timeout);
    meanwhile();
    held.reset();
    done.get();
}

TEST_F(FileManagerTest, WaitsForTheHolderAndSurvivesTheLossOfItsTemporaryFile) {
    const fs::path file = make("a.dat", "old");
    std::string content;
    whileHeld<Support::Unreadable>(file, [&] { content = readFile(file); });
    EXPECT_EQ(content, "old");
    whileHeld<Support::Unreadable>(
        file, [&] { replaceFile(file, "new"); },
        [&] {
            bool removed = false;
            for (const std::string& name : names()) {
                boost::system::error_code held;  // as the lock is
                removed = (name != "a.dat" && fs::remove(folder / name, held)) || removed;
            }
            EXPECT_TRUE(removed);
        });
    EXPECT_EQ(readFile(file), "new");
    EXPECT_EQ(names(), Names{"a.dat"});
    {
        const Support::Unreadable held(file);
        EXPECT_FALSE(FileManager::isReadable(file));
        expectRefusal(file);
    }
    FileManager::setPermissions(file, 0444);
    expectRefusal(file);
    FileManager::setPermissions(file, 0664);
}

TEST_F(FileManagerTest, RenamesAndRemovesOnceTheHolderLetsGo) {
    fs::create_directory(folder / "directory");
    make("directory/file", "x");
    whileHeld<Support::Held>(folder / "directory",
                             [this] { FileManager::rename(folder / "directory", folder / "renamed"); });
    whileHeld<Support::Held>(folder / "renamed/file", [this] { FileManager::removeAll(folder / "renamed"); });
    EXPECT_EQ(names(), Names());
}

TEST_F(FileManagerTest, ProgramsAreFilesWithTheRightExtension) {
    EXPECT_TRUE(FileManager::isExecutable(make("ug.EXE", "")));
    EXPECT_FALSE(FileManager::isExecutable(make("ug.dat", "")));
}

TEST(PathEncoding, NarrowTextsAreUtf8AndEverySequenceOfUnitsComesBack) {
    using Base::Platform::narrow;
    using Base::Platform::wide;
    EXPECT_EQ(fs::path("a ü€😀").native(), L"a ü€😀");
    EXPECT_EQ(fs::path(L"x\xD83D").string(), "x\xED\xA0\xBD");
    EXPECT_EQ(fs::path(L"a ü€😀\\b").filename().string(), "b");
    const std::wstring units = {0x7F,   0x80,   0x7FF,  0x800,  0xD7FF, 0xD800,
                                0xDBFF, 0xDC00, 0xDFFF, 0xE000, 0xFFFF};
    for (const wchar_t first : units) {
        for (const wchar_t second : units) {
            for (const wchar_t third : units) {
                const std::wstring text = {first, second, third};
                EXPECT_EQ(wide(narrow(text)), text);
                EXPECT_EQ(fs::path(fs::path(text).string()).native(), text);
            }
        }
    }
    for (const char* bad :
         {"\x80", "\xC3", "\xC3x", "\xC0\x80", "\xC1\xBF", "\xE0\x9F\xBF", "\xE2\x82", "\xF0\x8F\xBF\xBF",
          "\xF4\x90\x80\x80", "\xF8\x88\x80\x80\x80", "\xFF", "\xED\xA0\xBD\xED\xB8\x80", "ab\xC3"}) {
        EXPECT_THROW(wide(bad), Base::BaseException) << testing::PrintToString(bad);
        EXPECT_THROW(fs::path{bad}, boost::system::system_error) << testing::PrintToString(bad);
    }
}

#else

TEST_F(FileManagerTest, RespectsAndKeepsTheRightsOfFiles) {
    const fs::path file = make("a.dat", "old");
    FileManager::setPermissions(folder, 0777);
    for (const unsigned mode : {0640U, 0755U, 0222U, 0444U}) {
        FileManager::setPermissions(file, mode);
        const Support::Unprivileged somebody;
        EXPECT_EQ(FileManager::isExecutable(file), mode == 0755U);
        EXPECT_EQ(FileManager::isReadable(file), mode != 0222U);
        if (mode < 0600U) {
            expectRefusal(file);
        }
    }
    FileManager::setPermissions(file, 0640);
    replaceFile(file, "newer");
    EXPECT_EQ(fs::status(file).permissions(), static_cast<fs::perms>(0640));
}

TEST_F(FileManagerTest, WaitsForNoPipe) {
    ASSERT_EQ(::mkfifo((folder / "pipe").c_str(), 0666), 0);
    EXPECT_THROW(readFile(folder / "pipe"), fs::filesystem_error);
    expectRefusal(folder / "pipe");
}

TEST_F(FileManagerTest, SymbolicLinksStay) {
    const fs::path file = make("a.dat", "old");
    fs::create_symlink("a.dat", folder / "first");
    fs::create_symlink(folder / "first", folder / "second");
    fs::create_symlink("nothing yet", folder / "dangling");
    fs::create_symlink("loop", folder / "loop");
    replaceFile(folder / "second", "new");
    replaceFile(folder / "dangling", "made");
    EXPECT_THROW(replaceFile(folder / "loop", "new"), fs::filesystem_error);
    EXPECT_EQ(readFile(file), "new");
    EXPECT_EQ(readFile(folder / "nothing yet"), "made");
    for (const char* link : {"first", "second", "dangling", "loop"}) {
        EXPECT_TRUE(fs::is_symlink(folder / link)) << link;
    }
}

#endif

}  // namespace
