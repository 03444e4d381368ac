#pragma once

#include <cstdint>
#include <functional>

#include "kym/StaleFile.h"

namespace Kym {

class Time;

/// Calls `visit` for each file that CAD programs left in the temporary directories (c:\temp and the one that
/// TEMP names, not below these) and whose age in whole days is greater than `days`, in the order of the
/// names. `visit` may remove the file. A file that is gone when it is asked for its age is left out, as
/// another launch may be cleaning the same directory, and so is one whose time the run-time cannot tell.
///
/// The age is the difference of the local times, whatever change to or from daylight-saving time lies in
/// between. `boost::filesystem::filesystem_error` when the file system fails otherwise,
/// `Base::Environment::ExpansionError` when TEMP cannot be expanded.
void visitStaleFiles(const Time& now, std::uint32_t days, const std::function<void(const StaleFile&)>& visit);

/// Removes these files, as they are now, and calls `removed`, if any, after each. One that is gone already is
/// no error and not told; the first that cannot be removed is, as above, and ends the removal.
void removeStaleFiles(std::uint32_t days, const std::function<void(const StaleFile&)>& removed = {});

}  // namespace Kym
