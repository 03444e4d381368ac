#include "tests/support/ScratchSupport.h"

#include "base/BaseKit.h"

namespace Support {

void logTo(const std::string& loggers, const boost::filesystem::path& file) {
    struct Answers : Base::InitializeDelegate {
        std::string enabledLoggers() const override { return loggers; }
        std::string logFile() const override { return file; }
        std::string loggers, file;
    } answers;
    answers.loggers = loggers;
    answers.file = file.string();
    Base::BaseKit::initialize(&answers);
}

std::set<std::string> namesIn(const boost::filesystem::path& folder) {
    std::set<std::string> names;
    for (const auto& entry : boost::filesystem::directory_iterator(folder)) {
        names.insert(entry.path().filename().string());
    }
    return names;
}

boost::filesystem::path recorded(const std::string& name) {
    return boost::filesystem::path(KYM_TEST_DATA) / name;
}

}  // namespace Support
