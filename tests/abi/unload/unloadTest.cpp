// The library unloads: once the last module that uses it is gone, it leaves the process.
// Nothing of it may pin it in memory (a GNU-unique symbol does, on glibc), and its one
// process-wide object, the error registry, is destroyed then; under AddressSanitizer the leak
// checker reports its entries at exit if it was not.
#include <gtest/gtest.h>

#include <string>

#include "loader.h"

TEST(Unload, TheLibraryLeavesTheProcessWithTheLastModuleThatUsesIt) {
  ASSERT_FALSE(loader::isLoaded(MLIB_LIBRARY_NAME)) << "the program must not link mlib itself";

  std::string error;
  void* plugin = loader::load(MLIB_UNLOAD_PLUGIN, error);
  ASSERT_NE(plugin, nullptr) << error;
  EXPECT_TRUE(loader::isLoaded(MLIB_LIBRARY_NAME)) << "the plug-in brings mlib in";

  using UseLibrary = int (*)();
  auto useLibrary = reinterpret_cast<UseLibrary>(loader::find(plugin, "UseLibrary"));
  ASSERT_NE(useLibrary, nullptr);
  EXPECT_EQ(useLibrary(), 10);

  ASSERT_TRUE(loader::unload(plugin));
  EXPECT_FALSE(loader::isLoaded(MLIB_LIBRARY_NAME)) << "mlib stayed after its last user left";

  // Loaded again, the library starts afresh: a registry with nothing of the first load.
  plugin = loader::load(MLIB_UNLOAD_PLUGIN, error);
  ASSERT_NE(plugin, nullptr) << error;
  useLibrary = reinterpret_cast<UseLibrary>(loader::find(plugin, "UseLibrary"));
  ASSERT_NE(useLibrary, nullptr);
  EXPECT_EQ(useLibrary(), 10);
  ASSERT_TRUE(loader::unload(plugin));
  EXPECT_FALSE(loader::isLoaded(MLIB_LIBRARY_NAME));
}
