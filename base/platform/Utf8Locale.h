#pragma once

namespace Base::Platform {

/// As long as it lives, the C library takes the narrow texts of this thread for UTF-8, whatever locale the
/// process has. Nothing to do on Windows, where other libraries are given wide texts.
class Utf8Locale {
  public:
    Utf8Locale();
    Utf8Locale(const Utf8Locale&) = delete;
    Utf8Locale& operator=(const Utf8Locale&) = delete;
    ~Utf8Locale();

  private:
    void* mOwn = nullptr;
    void* mPrevious = nullptr;
};

}  // namespace Base::Platform
