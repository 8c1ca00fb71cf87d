#pragma once

/// ZAMXML_API marks what the library exports, ZAMXML_LOCAL what it hides of an exported class;
/// everything else is hidden. ZAMXML_STATIC is defined for a static build.
#if defined(ZAMXML_STATIC)
#define ZAMXML_API
#else
#define ZAMXML_API __attribute__((visibility("default")))
#endif
#define ZAMXML_LOCAL __attribute__((visibility("hidden")))
