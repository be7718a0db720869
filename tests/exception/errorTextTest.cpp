// The platform pieces behind the reports: the wide formatter (the system's wsprintfW on
// Windows, the library's own elsewhere: both must give these texts) and the system's error
// text cut to a room.
#include <mlib/exceptions.h>

#include <gtest/gtest.h>

#include <string>

#include "exception/reportText.h"
#include "platform/platform.h"

namespace {

using mlib::WideChar;
using Wide = std::basic_string<WideChar>;

TEST(FormatWide, RendersTheConversionsLikeTheWindowsFormatter) {
  WideChar out[64];
  struct Row {
    const WideChar* format;
    Wide expected;
  };
  // Every row passes the same arguments: -42, 3000000000u, 'Z', "txt", nullptr.
  const Row rows[] = {
      {MLIB_T("%d|%u|%c|%s|%s"), MLIB_T("-42|3000000000|Z|txt|(null)")},
      {MLIB_T("%i%%"), MLIB_T("-42%")},
      {MLIB_T("no conversions"), MLIB_T("no conversions")},
      {MLIB_T(""), MLIB_T("")},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(mlib::testing::ascii(mlib::String(row.format)));
    const int units = mlib::platform::formatWide(out, 64, row.format, -42, 3000000000u,
                                                 static_cast<int>(MLIB_T('Z')), MLIB_T("txt"),
                                                 static_cast<const WideChar*>(nullptr));
    EXPECT_EQ(Wide(out), row.expected);
    EXPECT_EQ(units, static_cast<int>(row.expected.size()));
  }
  const int minimum = mlib::platform::formatWide(out, 64, MLIB_T("%d"), -2147483647 - 1);
  EXPECT_EQ(Wide(out), MLIB_T("-2147483648"));
  EXPECT_EQ(minimum, 11);
}

TEST(FormatWide, StopsAtTheRoomAndAtTheFormattersLimit) {
  WideChar small[6];
  for (WideChar& unit : small) unit = MLIB_T('#');
  const int cut = mlib::platform::formatWide(small, 5, MLIB_T("%s!"), MLIB_T("abcdefgh"));
  EXPECT_EQ(cut, 4);
  EXPECT_EQ(Wide(small), MLIB_T("abcd"));
  EXPECT_EQ(small[5], MLIB_T('#'));  // nothing past the room

  const Wide longText(3000, MLIB_T('q'));
  Wide big(4000, MLIB_T('#'));
  const int limited = mlib::platform::formatWide(&big[0], 4000, MLIB_T("%s"), longText.c_str());
  EXPECT_EQ(limited, 1023);
  EXPECT_EQ(big.substr(0, 1023), longText.substr(0, 1023));
  EXPECT_EQ(big[1023], 0);
  EXPECT_EQ(big[1024], MLIB_T('#'));

  EXPECT_EQ(mlib::platform::formatWide(nullptr, 5, MLIB_T("x")), 0);
  EXPECT_EQ(mlib::platform::formatWide(small, 0, MLIB_T("x")), 0);
}

TEST(SystemErrorText, IsTheFullTextCutToTheRoom) {
  const Wide full = mlib::testing::units(mlib::MxException::FormatErrorCodeToMessage(2));
  ASSERT_GT(full.size(), 5u);
  WideChar room[6];
  for (WideChar& unit : room) unit = MLIB_T('#');
  EXPECT_EQ(mlib::platform::systemErrorText(2, room, 5), 4u);
  EXPECT_EQ(Wide(room), full.substr(0, 4));
  EXPECT_EQ(room[5], MLIB_T('#'));

  WideChar whole[600];
  EXPECT_EQ(mlib::platform::systemErrorText(2, whole, 600), full.size());
  EXPECT_EQ(Wide(whole), full);

  // No text for the code: an empty text, zero units.
  for (WideChar& unit : room) unit = MLIB_T('#');
  EXPECT_EQ(mlib::platform::systemErrorText(-9, room, 6), 0u);
  EXPECT_EQ(room[0], 0);
  EXPECT_EQ(mlib::platform::systemErrorText(2, nullptr, 6), 0u);
  EXPECT_EQ(mlib::platform::systemErrorText(2, room, 0), 0u);
}

}  // namespace
