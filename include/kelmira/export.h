// Symbol visibility of the public API. The library is built with hidden visibility;
// only what carries KELMIRA_API is exported from libkelmira.so.
#ifndef KELMIRA_EXPORT_H
#define KELMIRA_EXPORT_H

#if defined(KELMIRA_STATIC)
#define KELMIRA_API
#elif defined(_WIN32)
#if defined(KELMIRA_BUILDING)
#define KELMIRA_API __declspec(dllexport)
#else
#define KELMIRA_API __declspec(dllimport)
#endif
#else
#define KELMIRA_API __attribute__((visibility("default")))
#endif

#endif  // KELMIRA_EXPORT_H
