#pragma once

// Marks what the native library exports; everything else is hidden. The facade's library has the same code in
// it and exports none of it. A Windows host needs no mark: it calls through the import library.
#if defined(_WIN32) && defined(QUILLMARK_CORE_BUILD)
#define QUILLMARK_CORE_EXPORT __declspec(dllexport)
#elif defined(_WIN32)
#define QUILLMARK_CORE_EXPORT
#else
#define QUILLMARK_CORE_EXPORT __attribute__((visibility("default")))
#endif
