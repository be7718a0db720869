// A host's plug-in, linked against the shared library through its public headers only, loaded
// and unloaded by the unload test. It uses the free functions under their plain exported
// names and the error registry, which then holds the nine built-in entries and its own.
#include <mlib/mlib.h>

#if defined(_WIN32)
#define PLUGIN_EXPORT __declspec(dllexport)
#else
#define PLUGIN_EXPORT __attribute__((visibility("default")))
#endif

// The registry's entries (10), or -1 when a free function answered wrongly, -2 when the
// registry did (a freshly loaded library's starts empty).
extern "C" PLUGIN_EXPORT int UseLibrary() {
  mlib::WideChar wide[8];
  if (GetStringHashCode("a") != 97 || GetStringHashCodeA("a") != 740) return -1;
  if (ANSIToWide(wide, "abc", 8) != wide || wide[0] != MLIB_T('a') || wide[3] != 0) return -1;
  mlib::MxException exception(-4);
  if (!mlib::MxException::GetExceptionMap().IsEmpty()) return -2;
  if (exception.AddExceptionInfo(7001, mlib::String("the plug-in's own error"))) return -2;
  return static_cast<int>(mlib::MxException::GetExceptionMap().GetCount());
}
