// A host's plug-in, built against the public headers only, that the unload test loads and unloads.
#include <mlib/mlib.h>

#if defined(_WIN32)
#define PLUGIN_EXPORT __declspec(dllexport)
#else
#define PLUGIN_EXPORT __attribute__((visibility("default")))
#endif

// Calls free functions by their plain exported names and fills the registry; returns its entries
// (9 built in and its own), -1 when a free function answered wrongly, -2 when the registry did.
extern "C" PLUGIN_EXPORT int UseLibrary() {
  mlib::WideChar wide[8];
  if (GetStringHashCode("a") != 97 || GetStringHashCodeA("a") != 740) return -1;
  if (ANSIToWide(wide, "abc", 8) != wide || wide[0] != MLIB_T('a') || wide[3] != 0) return -1;
  if (!mlib::MxException::GetExceptionMap().IsEmpty()) return -2;
  if (mlib::MxException().AddExceptionInfo(7001, "the plug-in's own error")) return -2;
  return static_cast<int>(mlib::MxException::GetExceptionMap().GetCount());
}
