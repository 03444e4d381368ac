#pragma once

// BASE_EXPORT marks what the library offers across its boundary; everything else stays inside it.
// KYM_STATIC is defined where the objects are linked straight into a program (tests, fuzzers),
// KYM_BUILDING_LIBRARY while the shared library itself is compiled.
#if defined(_WIN32)
#if defined(KYM_BUILDING_LIBRARY)
#define BASE_EXPORT __declspec(dllexport)
#elif defined(KYM_STATIC)
#define BASE_EXPORT
#else
#define BASE_EXPORT __declspec(dllimport)
#endif
#else
#define BASE_EXPORT __attribute__((visibility("default")))
#endif

#define KYM_EXPORT BASE_EXPORT
