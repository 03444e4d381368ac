#include "kym/SystemPreferences.h"

#include <algorithm>
#include <iostream>
#include <utility>

#include <boost/container/small_vector.hpp>
#include <boost/smart_ptr/make_shared.hpp>

#include "base/Environment.h"
#include "base/FileManager.h"
#include "base/PropertyList.h"
#include "kym/Loggers.h"
#include "kym/SystemInfo.h"

namespace Kym {
namespace {

using Base::FileManager::native;
using boost::filesystem::path;
using Dictionary = Base::PropertyList::Dictionary;

boost::shared_ptr<boost::any> emptyDomain() {
    return boost::make_shared<boost::any>(Dictionary());
}

std::string expanded(std::string text) {
    return Base::Environment::expandEnvVariables(text);
}

std::string userDirectory() {
    const path& applicationData = SystemInformation().applicationDataPath();
    return applicationData.empty() ? std::string() : (applicationData / "preferences/").string();
}

using Names = boost::container::small_vector<std::string, 4>;  // deeper keys are rare

Names namesOf(const std::string& key) {
    Names names;
    names.reserve(static_cast<std::size_t>(std::count(key.begin(), key.end(), '/')) + 1);
    std::size_t begin = 0;
    for (std::size_t end; (end = key.find('/', begin)) != std::string::npos; begin = end + 1) {
        names.emplace_back(key, begin, end - begin);
    }
    names.emplace_back(key, begin);
    return names;
}

const boost::any* find(const boost::any& root, const Names& names) {
    const boost::any* value = &root;
    for (const std::string& name : names) {
        const auto* dictionary = boost::any_cast<Dictionary>(value);
        if (!dictionary) {
            return nullptr;
        }
        const auto found = dictionary->find(name);
        if (found == dictionary->end()) {
            return nullptr;
        }
        value = &found->second;
    }
    return value;
}

using Seen = std::map<std::string, SystemPreferences::Preference>;

// A dictionary is noted without its value: it hides what has the same key in a later domain.
void collect(const Dictionary& dictionary, const std::string& prefix, const path& file, Seen& seen) {
    for (const auto& [name, value] : dictionary) {
        if (name.find('/') != std::string::npos) {
            continue;  // no key leads there
        }
        const std::string key = prefix + name;
        const auto* inner = boost::any_cast<Dictionary>(&value);
        const bool hasMore = inner && !inner->empty();
        seen.try_emplace(key, SystemPreferences::Preference{key, hasMore ? boost::any() : value, file});
        if (hasMore) {
            collect(*inner, key + '/', file, seen);
        }
    }
}

}  // namespace

InvalidPreferenceFile::InvalidPreferenceFile(const std::string& message) : BaseException(message) {}
InvalidPreferenceFile::InvalidPreferenceFile(const InvalidPreferenceFile&) = default;
InvalidPreferenceFile& InvalidPreferenceFile::operator=(const InvalidPreferenceFile&) = default;
InvalidPreferenceFile::~InvalidPreferenceFile() = default;

SystemPreferences::SystemPreferences(const std::string& applicationName)
    : mApplicationFile(applicationName + ".plist"),
      mGlobalFile("global.plist"),
      mUserDirectory(userDirectory()),
      mGlobalDirectory(expanded("${KYM_DEPT_DIR}/${UG_VER}/preferences/")) {
    logInfo("(1) SystemPreferences KYM_DEPT_DIR 1 param ", Base::Environment::getEnvVariable("KYM_DEPT_DIR"));
    logInfo("(1) Current 1app plist = ", mApplicationFile);
    logInfo("(1) after Base::Path path() path = ", path(mUserDirectory));
    logInfo("(1) Current user pref dir = ", mUserDirectory);
    logInfo("(1) after expandEnvVariables ", mGlobalDirectory);
    logInfo("(1) Global pref dir = ", mGlobalDirectory);
    loadPreferences();
}

SystemPreferences::SystemPreferences(const std::string& departmentDirectory,
                                     const std::string& applicationName)
    : mApplicationFile(applicationName + ".plist"),
      mGlobalFile("global.plist"),
      mUserDirectory(userDirectory()),
      mGlobalDirectory(expanded(departmentDirectory + "/${UG_VER}/preferences/")) {
    logInfo("(2) SystemPreferences DEPT 2 param ", departmentDirectory);
    logInfo("Current 2app plist = ", mApplicationFile);
    logInfo("Current user pref dir = ", mUserDirectory);
    logInfo("Global pref dir = ", mGlobalDirectory);
    loadPreferences();
}

void SystemPreferences::loadPreferences() {
    mSearchList.clear();
    mDomains.clear();
    const auto read = [this](int number, const std::string& directory, Directory kind) {
        for (const std::string* file : {&mApplicationFile, &mGlobalFile}) {
            logInfo("ReadInPlist: ", number++, " ", directory);
            ReadInPList(*file, directory, false, kind);
        }
    };
    if (!mUserDirectory.empty()) {
        read(1, mUserDirectory, Directory::literal);
    }
    read(3, mGlobalDirectory, Directory::literal);
    read(5, "${KYM_COMMONDEPT_DIR}/$UG_VER/preferences/", Directory::unexpanded);
    read(7, "${KYM_BASE_DIR}/preferences/", Directory::unexpanded);
}

void SystemPreferences::ReadInPList(const std::string& fileName, const std::string& directory, bool atFront,
                                    Directory kind) {
    const path file = path(directory) / fileName;
    logInfo("Reading in preference file ", file);
    try {
        Base::PropertyList list = kind == Directory::literal
                                      ? Base::PropertyList(file)
                                      : Base::PropertyList::inUnexpanded(directory, fileName);
        if (!list.list()) {
            list.setList(emptyDomain());
        }
        if (!boost::any_cast<Dictionary>(list.list().get())) {
            Base::FileManager::noteDamaged(list.file());
            throw InvalidPreferenceFile("Invalid preference file: " + native(file) +
                                        "  Root object was not dictionary");
        }
        setDomain(file, list.list(), list.fileState());
        mSearchList.insert(atFront ? mSearchList.begin() : mSearchList.end(), {file, list.list()});
    } catch (const Base::BaseException& error) {
        setDomain(file, emptyDomain(), Base::FileManager::stateOf(file));
        logInfo(error.what());
    }
}

// A file may be in the search list already, from an earlier reading.
void SystemPreferences::setDomain(const path& file, const boost::shared_ptr<boost::any>& root,
                                  const Base::FileState& state) {
    mDomains[file] = {root, state};
    for (Searched& searched : mSearchList) {
        if (searched.file == file) {
            searched.root = root;
        }
    }
}

SystemPreferences::Domain& SystemPreferences::domain(const path& file) {
    Domain& domain = mDomains[file];
    if (!domain.root) {
        domain.root = emptyDomain();
        if (Base::FileManager::exists(file)) {
            Base::FileManager::noteDamaged(file);  // what it holds is not known and must not be lost
        } else {
            domain.state = Base::FileState::missing();
        }
    }
    return domain;
}

void SystemPreferences::addPath(const std::string& directory, bool atFront) {
    logInfo("in addPath()");
    if (Base::FileManager::exists(directory)) {
        ReadInPList(mApplicationFile, directory, atFront);
        ReadInPList(mGlobalFile, directory, atFront);
    }
}

boost::shared_ptr<boost::any> SystemPreferences::GetPreference(const std::string& key) const {
    const Names names = namesOf(key);
    for (const Searched& searched : mSearchList) {
        if (const boost::any* value = find(*searched.root, names)) {
            return boost::make_shared<boost::any>(*value);
        }
    }
    return nullptr;
}

boost::shared_ptr<boost::any> SystemPreferences::GetPreference(const std::string& key,
                                                               const std::string& fileName,
                                                               const std::string& directory) const {
    const auto found = mDomains.find(path(directory) / fileName);
    const boost::any* value = found == mDomains.end() ? nullptr : find(*found->second.root, namesOf(key));
    return value ? boost::make_shared<boost::any>(*value) : nullptr;
}

std::vector<SystemPreferences::Preference> SystemPreferences::preferences() const {
    Seen seen;
    for (const Searched& searched : mSearchList) {
        collect(boost::any_cast<const Dictionary&>(*searched.root), "", searched.file, seen);
    }
    std::vector<Preference> preferences;
    for (auto& [key, preference] : seen) {
        if (!preference.value.empty()) {
            preferences.push_back(std::move(preference));
        }
    }
    return preferences;
}

void SystemPreferences::SetPreference(const std::string& key, const boost::any& value,
                                      const std::string& fileName, const std::string& directory) {
    const path file = path(directory) / fileName;
    logInfo("Setting Preference '", key, "' and placing it in ", file);
    const Names names = namesOf(key);
    if (names.size() > Base::PropertyList::depthLimit) {
        throw Base::BaseException("A key of " + std::to_string(names.size()) +
                                  " names cannot be set: no file holds more than " +
                                  std::to_string(Base::PropertyList::depthLimit) + " within one another.");
    }
    Domain& target = domain(file);
    boost::any* place = target.root.get();
    for (const std::string& name : names) {
        auto* dictionary = boost::any_cast<Dictionary>(place);
        if (!dictionary) {
            throw Base::BaseException("The preference '" + key + "' cannot be set in " + native(file) +
                                      ": what would have to hold '" + name + "' is not a dictionary.");
        }
        place = &(*dictionary)[name];
        if (place->empty() && &name != &names.back()) {
            *place = Dictionary();
        }
    }
    *place = value;
    target.changed = true;
}

void SystemPreferences::SetPreference(const std::string& key, const boost::any& value) {
    SetPreference(key, value, CurrentApplication(), CurrentUser());
}

void SystemPreferences::RemovePreference(const std::string& key, const std::string& fileName,
                                         const std::string& directory) {
    if (!key.empty()) {
        boost::any_cast<Dictionary&>(*domain(path(directory) / fileName).root).erase(key);
    }
}

void SystemPreferences::RemovePreference(const std::string& key) {
    RemovePreference(key, CurrentApplication(), CurrentUser());
}

void SystemPreferences::Flush(const std::string& directory) {
    if (directory.empty()) {
        return;
    }
    logInfo("Flushing ", directory, " preferences");
    logInfo("Preparing user's preference directory");
    try {
        Base::FileManager::ensureDirectory(path(directory).remove_trailing_separator());
        logInfo("Checking to save global preferences");
        write(path(directory) / mGlobalFile);
        logInfo("Checking to save application preferences");
        write(path(directory) / mApplicationFile);
    } catch (const std::exception& error) {
        std::cerr << "Unable to save preferences\n" << error.what() << std::endl;
    }
}

void SystemPreferences::Flush() {
    Flush(CurrentUser());
}

void SystemPreferences::write(const path& file) {
    const auto found = mDomains.find(file);
    if (found == mDomains.end() || !found->second.changed) {
        return;
    }
    Domain& domain = found->second;
    logInfo("Writing property list ", file);
    Base::PropertyList list(file, domain.root);
    list.setFileState(domain.state);
    list.saveList();
    domain.state = list.fileState();
    domain.changed = false;
}

bool SystemPreferences::needsSaving() const {
    return std::any_of(mDomains.begin(), mDomains.end(),
                       [](const auto& entry) { return entry.second.changed; });
}

}  // namespace Kym
