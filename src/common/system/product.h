/**
 * The maker, the product, its version and its well-known paths: fixed by the build.
 */
#pragma once

#include <cstdint>

inline const char* GetMakerName() { return "Qorvix"; }
inline const char* GetProductName() { return "Qorvs Desktop"; }

inline const char* GetVersionString() { return "6.23.50.5"; }
inline int32_t GetVersionMajor() { return 6; }
inline int32_t GetVersionMinor() { return 23; }
inline int32_t GetVersionBuild() { return 50; }
inline int32_t GetVersionRevision() { return 5; }

inline const char* GetLibraryDir() { return "/usr/lib/QorvsRuntime"; }
inline const char* GetCacheServerPath() { return "/usr/lib/QorvsRuntime/qorcachesrv"; }

inline const char* GetShareDir() { return "/usr/share/QorvsRuntime"; }
inline const char* GetLocaleDir() { return "/usr/share/QorvsRuntime/locale"; }

/** The graphics resources: the path of an archive and, after "#", how it is packed. */
inline const char* GetGraphicsArchive() { return "/usr/share/QorvsRuntime/graphics.bin#zip:"; }

inline const char* GetLocalSocketPath() { return "/tmp/.qorvs_socket"; }
