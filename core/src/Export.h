#pragma once

// Marks what the native library exports; everything else is hidden. The facade's library takes the same
// objects in and exports none of them.
#if defined(_WIN32)
#define QUILLMARK_CORE_EXPORT __declspec(dllexport)
#else
#define QUILLMARK_CORE_EXPORT __attribute__((visibility("default")))
#endif
