#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <boost/filesystem/path.hpp>

namespace Support {

/// A file of settings with the object that keeps it. What it holds is one of many generations, each told by a
/// text of its own that makes up most of the file.
class Store {
  public:
    virtual ~Store() = default;

    /// Reads the file anew.
    virtual void load() = 0;

    virtual void save() = 0;
    virtual bool needsSaving() = 0;

    void edit(int generation);

    /// The present generation, 0 before the first edit; `std::runtime_error` for a mixture.
    int generation();

    const boost::filesystem::path& file() const { return mFile; }

  protected:
    explicit Store(boost::filesystem::path file) : mFile(std::move(file)) {}

    virtual void setText(const std::string& text) = 0;
    virtual std::string text() = 0;

  private:
    boost::filesystem::path mFile;
};

/// Every kind of file that the library writes: "base", "site", "system", "plugin", "department", "properties"
/// and "preferences".
std::vector<std::string> storeKinds();

/// The store of a kind, read from its file below a site's directory, to which the variables of the
/// environment lead. The directories of the file are made.
std::unique_ptr<Store> openStore(const std::string& kind, const boost::filesystem::path& siteDirectory);

/// The program that saves stores beside this process.
boost::filesystem::path saverProgram();

}  // namespace Support
