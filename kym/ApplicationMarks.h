#pragma once

#include <vector>

#include "kym/ConfigApplication.h"

namespace Kym {

/// Guards the edited marks of the applications of a store while it is saved. Writing an application into an
/// archive clears its marks although the file is replaced only later; unless `written()` is called, the
/// destructor puts the marks back, so that a store whose file could not be replaced still needs saving.
///
///     ApplicationMarks marks(mApplications);
///     ...
///     archiver.finishEncoding();
///     marks.written();
class ApplicationMarks {
  public:
    /// `applications` must outlive the guard and keep its size.
    explicit ApplicationMarks(std::vector<ConfigApplication>& applications);
    ~ApplicationMarks();
    ApplicationMarks(const ApplicationMarks&) = delete;
    ApplicationMarks& operator=(const ApplicationMarks&) = delete;

    void written() { mEdited.clear(); }

  private:
    std::vector<ConfigApplication*> mEdited;
};

}  // namespace Kym
