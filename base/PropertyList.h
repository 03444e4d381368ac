#pragma once

#include <map>
#include <string>
#include <vector>

#include <boost/any.hpp>
#include <boost/filesystem/path.hpp>
#include <boost/shared_ptr.hpp>

#include "base/BaseException.h"
#include "base/FileState.h"
#include "base/PropertyListDate.h"

namespace Base {

/// A property list that cannot be read or written. The message names the file, the line and the reason.
class PropertyListError : public BaseException {
  public:
    PropertyListError(const std::string& file, int line, const std::string& reason);
    ~PropertyListError() override;

    int line() const { return mLine; }  ///< 1 for the first line, 0 when no line is concerned

  private:
    int mLine;
};

/// A file in Apple's XML property list format, version 1.0 (PropertyList-1.0.dtd).
///
/// Values are `boost::any`: `Dictionary`, `Array`, `std::string`, `bool`, integers (`unsigned int` when the
/// value fits, else `int` when it is negative and fits, else `long long`, else `unsigned long long`),
/// `double`, `std::vector<char>` for data, and `Date`.
class PropertyList {
  public:
    using Dictionary = std::map<std::string, boost::any>;
    using Array = std::vector<boost::any>;

    using Date = PropertyListDate;

    /// How deeply dictionaries and arrays may be nested, in a file that is read as well as in one that is
    /// written.
    static constexpr int depthLimit = 512;

    /// No file and no root.
    PropertyList();

    /// Reads the file. A file that does not exist gives a list without a root; one that cannot be read
    /// is a `PropertyListError`.
    explicit PropertyList(const boost::filesystem::path& file);

    /// Reads the file of this name in a directory whose path refers to variables of this process, like
    /// "${HOME}/lists". Every other path is taken as it stands, since a "$" may be a part of any name. Errors
    /// as above, and `Environment::ExpansionError`.
    static PropertyList inUnexpanded(std::string directory, const std::string& name);

    /// Prepares a write of `root` to `file`; nothing is read.
    PropertyList(const boost::filesystem::path& file, const boost::shared_ptr<boost::any>& root);

    /// Nothing is known then of what the file holds.
    void setFile(const boost::filesystem::path& file);
    const boost::filesystem::path& file() const;

    /// The root object, shared with the caller; null when there is none.
    const boost::shared_ptr<boost::any>& list() const;
    void setList(const boost::shared_ptr<boost::any>& root);

    /// A value of the root dictionary, until that changes; an empty `boost::any` when the root is no
    /// dictionary or lacks the key.
    const boost::any& getProperty(const std::string& key) const;
    bool hasProperty(const std::string& key) const;

    /// Sets a value of the root dictionary, which is made when there is no root. A root of another kind is a
    /// `PropertyListError`.
    void setProperty(const std::string& key, const boost::any& value);

    /// Writes the root to the file, replacing it in one step. `PropertyListError` for a value that a property
    /// list cannot carry, `FileChanged` when the file does not hold any more what `fileState` tells; errors
    /// of the file system as in `FileManager::replaceFile`.
    void saveList();

    /// What the file held when this list was read from it or written to it. Another list that is going to be
    /// written in its place may take it over.
    const FileState& fileState() const { return mState; }
    void setFileState(const FileState& state) { mState = state; }

  private:
    boost::filesystem::path mFile;
    FileState mState;
    boost::shared_ptr<boost::any> mRoot;
};

}  // namespace Base
