// Opening and closing a shared object by hand.
#ifndef VESKARO_TESTS_SUPPORT_SHARED_OBJECT_H
#define VESKARO_TESTS_SUPPORT_SHARED_OBJECT_H

#if defined(_WIN32)
#include <windows.h>
#else
#include <dlfcn.h>
#endif

namespace veskaro::test {

#if defined(_WIN32)
using SharedObject = HMODULE;
inline SharedObject openSharedObject(const char* path) {
  return LoadLibraryA(path);
}
inline void* symbolOf(SharedObject object, const char* name) {
  return reinterpret_cast<void*>(GetProcAddress(object, name));
}
inline bool closeSharedObject(SharedObject object) {
  return FreeLibrary(object) != 0;
}
#else
using SharedObject = void*;
inline SharedObject openSharedObject(const char* path) {
  return dlopen(path, RTLD_NOW | RTLD_LOCAL);
}
inline void* symbolOf(SharedObject object, const char* name) {
  return dlsym(object, name);
}
inline bool closeSharedObject(SharedObject object) {
  return dlclose(object) == 0;
}
#endif

}  // namespace veskaro::test

#endif  // VESKARO_TESTS_SUPPORT_SHARED_OBJECT_H
