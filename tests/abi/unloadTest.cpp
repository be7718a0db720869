// The library unloads with the last module that uses it: nothing of it may pin it in memory
// (a GNU-unique symbol does, on glibc), and its error registry is destroyed then (under
// AddressSanitizer the leak checker reports its entries at exit if not).
#include <gtest/gtest.h>

#include <string>

#include "loader.h"

TEST(Unload, TheLibraryLeavesWithTheLastModuleThatUsesItAndComesBackAfresh) {
  ASSERT_FALSE(loader::isLoaded(MLIB_LIBRARY_NAME)) << "the program must not link mlib itself";
  for (int load = 1; load <= 2; ++load) {
    std::string error;
    void* plugin = loader::load(MLIB_UNLOAD_PLUGIN, error);
    ASSERT_NE(plugin, nullptr) << error;
    EXPECT_TRUE(loader::isLoaded(MLIB_LIBRARY_NAME)) << "the plug-in brings mlib in";
    auto useLibrary = reinterpret_cast<int (*)()>(loader::find(plugin, "UseLibrary"));
    ASSERT_NE(useLibrary, nullptr);
    EXPECT_EQ(useLibrary(), 10) << "load " << load;
    ASSERT_TRUE(loader::unload(plugin));
    EXPECT_FALSE(loader::isLoaded(MLIB_LIBRARY_NAME)) << "mlib stayed after its last user left";
  }
}
