#pragma once

/// ZAMXML_API marks what the library exports; everything else is hidden.
/// ZAMXML_BUILDING is defined while the library itself is compiled, ZAMXML_STATIC for a static
/// build.
#if defined(ZAMXML_STATIC)
#define ZAMXML_API
#elif defined(_WIN32)
#if defined(ZAMXML_BUILDING)
#define ZAMXML_API __declspec(dllexport)
#else
#define ZAMXML_API __declspec(dllimport)
#endif
#else
#define ZAMXML_API __attribute__((visibility("default")))
#endif
