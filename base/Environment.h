#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <memory_resource>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "base/BaseException.h"

/// The process environment, and the expansion of references to variables. Texts are UTF-8.
namespace Base::Environment {

/// Variable name to value.
using VariableMap = std::map<std::string, std::string>;

/// The value of a variable of this process; empty when it is not set. On Windows the case of the name does
/// not count.
std::string getEnvVariable(const std::string& name);

/// Sets a variable of this process, or removes it when the value is empty. `BaseException` when the name is
/// empty or holds "=", when the name or the value holds a NUL, and when the system refuses.
void setEnvVariable(const std::string& name, const std::string& value);

/// Every NAME=VALUE string of this process, in the order of the run-time's environment block. The hidden
/// strings in which Windows keeps a current directory for each drive (they begin with "=") are left out.
std::vector<std::string> environmentStrings();

/// A reference that cannot be expanded: a "${" without "}", a cycle, or a result beyond all bounds.
class ExpansionError : public BaseException {
  public:
    using BaseException::BaseException;
    ~ExpansionError() override;
};

/// Replaces, in place, every $NAME and ${NAME} by the value of NAME, and returns `text`.
///
/// $NAME is the longest run of letters, digits and "_" that begins with a letter or "_"; ${NAME} is
/// everything up to the next "}". References inside a referenced value are expanded too. A reference to a
/// variable that is not there stays as it stands, and so does any other "$". A cycle throws `ExpansionError`
/// with the chain in its message, a "${" without "}" with the text, and a result beyond 1 MiB with the name
/// of the variable that goes beyond it. When it throws, `text` is unchanged.
std::string& expandEnvVariables(std::string& text, const VariableMap& variables);

/// The same against the environment of this process. A value that is the absolute path of something that
/// exists stands for itself, since a "$" may be a part of any name.
std::string& expandEnvVariables(std::string& text);

/// Expands texts and the values of variables by the rules of `expandEnvVariables`; each variable only once,
/// however many refer to it.
///
/// A variable given to `expandVariable` is finished: what refers to it afterwards takes its value as the
/// look-up then gives it, word for word. After an `ExpansionError` an expander is of no more use.
class Expander {
  public:
    struct Value {
        std::string_view text;
        bool standsForItself = false;  ///< although there is a "$" in it
    };

    /// The value of a variable, or nothing when it is not there. The text must stay as it is until the call
    /// that asked for it has returned.
    using Lookup = std::function<std::optional<Value>(std::string_view name)>;

    explicit Expander(Lookup lookup);
    Expander(const Expander&) = delete;
    Expander& operator=(const Expander&) = delete;

    /// Expands a text, in place.
    void expand(std::string& text);

    /// The expansion of a variable's value. It stays until the next call, and as long as the value does.
    std::string_view expandVariable(std::string_view name, std::string_view value);

    /// Whether an expansion has gone through the variable.
    bool hasMet(std::string_view name) const { return mVariables.contains(name); }

  private:
    enum class State {
        literal,  ///< its value stands for itself
        untouched,
        open,      ///< it is being expanded
        expanded,  ///< its expansion is a part of the result
    };
    struct Known {
        State state;
        std::size_t begin;  ///< of the expansion in the result
        std::size_t end;
    };
    struct NameHash {
        using is_transparent = void;
        std::size_t operator()(std::string_view name) const { return std::hash<std::string_view>()(name); }
    };
    using Variables = std::pmr::unordered_map<std::pmr::string, Known, NameHash, std::equal_to<>>;
    struct Frame {
        Variables::value_type* variable;  ///< null: the caller's text
        std::string_view text;
        std::size_t position;
    };

    void run(const Frame& outermost);
    void step();
    std::string_view readName(Frame& frame) const;
    void resolve(std::string_view name, std::string_view reference);
    void append(std::string_view text, const Variables::value_type* variable);
    void checkSize(std::size_t added, const Variables::value_type* variable) const;
    std::string place() const;
    std::string chain(std::string_view last) const;

    Lookup mLookup;
    std::string mResult;     // all that was expanded, so that a variable met again is copied from there
    std::size_t mBegin = 0;  // where the text that is being expanded begins in the result
    std::pmr::monotonic_buffer_resource mMemory;
    Variables mVariables{&mMemory};
    std::vector<Frame> mFrames;  // a stack: references nest deeper than the machine's own stack allows
};

}  // namespace Base::Environment
