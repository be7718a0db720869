// A plug-in of a host: linked against mlib, loaded and unloaded at run time by the test. It
// uses the library the way a host does, so that the library has state (the error registry,
// with the built-in entries and one of the plug-in's own) when it is unloaded.
#include <mlib/exceptions.h>
#include <mlib/string.h>
#include <mlib/syncMap.h>

#if defined(_WIN32)
#define PLUGIN_EXPORT __declspec(dllexport)
#else
#define PLUGIN_EXPORT __attribute__((visibility("default")))
#endif

// Fills the registry and answers how many entries it holds (the nine built-in ones and the
// plug-in's own: 10), or -1 when the library answered wrongly.
extern "C" PLUGIN_EXPORT int UseLibrary() {
  mlib::MxException exception(-4);
  if (exception.AddExceptionInfo(7001, mlib::String("the plug-in's own error"))) return -1;
  const mlib::String message = exception.GetExceptionInfo(7001);
  if (message.IsNull()) return -1;
  return static_cast<int>(mlib::MxException::GetExceptionMap().GetCount());
}
