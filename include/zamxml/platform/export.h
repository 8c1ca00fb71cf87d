#pragma once

/// ZAMXML_API marks what the library exports, ZAMXML_LOCAL what it hides of an exported class;
/// everything else is hidden. ZAMXML_STATIC is defined for a static build.
#if defined(ZAMXML_STATIC)
#define ZAMXML_API
#define ZAMXML_LOCAL
#else
#define ZAMXML_API __attribute__((visibility("default")))
#define ZAMXML_LOCAL __attribute__((visibility("hidden")))
#endif
