#pragma once

#include <sstream>
#include <string>

namespace Base {

/// A failed assertion being described. When it goes out of scope it writes one line to the logger
/// "base.assert"; the program goes on (level 300: the checked access that follows reports the misuse).
///
///     if (!(index < size)) {
///         Base::smart_assert("index < mList->size()", 300, __FILE__, __LINE__, __func__)
///             .value("index", index)
///             .message("tried to access out of range application");
///     }
class smart_assert {
  public:
    smart_assert(const char* expression, int level, const char* file, int line, const char* function);
    ~smart_assert();
    smart_assert(const smart_assert&) = delete;
    smart_assert& operator=(const smart_assert&) = delete;

    template <typename Value>
    smart_assert& value(const char* name, const Value& value) {
        if (!mOn) {
            return *this;
        }
        std::ostringstream text;
        text << (mValues.empty() ? " " : ", ") << name << " = " << value;
        mValues += text.str();
        return *this;
    }
    smart_assert& message(const std::string& text);

  private:
    bool mOn;  // with the logger off, nothing is formatted
    std::string mHead;
    std::string mValues;
    std::string mMessage;
};

}  // namespace Base
