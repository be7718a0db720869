// MxException: construction, copies and the two framed text reports.
#include <mlib/exceptions.h>
#include <mlib/text.h>

#include <cstdlib>
#include <new>

#include "exception/levelName.h"
#include "platform/platform.h"

namespace mlib {

namespace {

// The long report: ruler, the middle line, ruler; "\r\n" between them, none after the last.
constexpr WideChar kLongReportFormat[] = MLIB_T(
    "--------------------------------------------------------------------------\r\n"
    "mlib exception { <Code: %d> <Level: %s> <Description: %s> <Call Stack: %s> "
    "<Location: \"%s\"> }\r\n"
    "--------------------------------------------------------------------------");

// The short report, the same frame around a shorter middle line.
constexpr WideChar kShortReportFormat[] = MLIB_T(
    "--------------------------------------------------------------------------\r\n"
    "mlib exception: { Code: %d; Level: %s; Description: %s }\r\n"
    "--------------------------------------------------------------------------");

constexpr std::size_t kShortReportFormatUnits =
    sizeof(kShortReportFormat) / sizeof(kShortReportFormat[0]) - 1;

std::size_t unitLength(const WideChar* text) noexcept {
  std::size_t unitCount = 0;
  if (text != nullptr) {
    while (text[unitCount] != 0) ++unitCount;
  }
  return unitCount;
}

}  // namespace

MxException::MxException() = default;

MxException::MxException(int code) { code_ = code; }

MxException::MxException(int code, int level, const String& callStack, const String& location)
    : callStack_(callStack), location_(location) {
  code_ = code;
  level_ = level;
}

MxException::MxException(const MxException& other)
    : MxBaseException(other), callStack_(other.callStack_), location_(other.location_) {}

MxException& MxException::operator=(const MxException& other) {
  if (&other == this) return *this;
  MxBaseException::operator=(other);
  callStack_ = other.callStack_;
  location_ = other.location_;
  return *this;
}

MxException::~MxException() = default;

String MxException::PrintToString() const {
  const WideChar* level = detail::levelName(level_);
  String report;
  report.AllocBuffer(String::BufferSize);
  const String description = GetExceptionInfo(code_);
  report.Format(kLongReportFormat, code_, level, description.toString(), callStack_.toString(),
                location_.toString());
  return report;
}

String MxException::PrintToString(const MxBaseException* e) {
  if (e == nullptr) return String();
  String report;
  WideChar* reportUnits = report.AllocBuffer(String::BufferSize);
  const WideChar* level = detail::levelName(e->level_);
  // Room for twice the framed format and the description: more than any rendering needs.
  const std::size_t roomUnits = 2 * (kShortReportFormatUnits + unitLength(e->description_));
  auto* rendering = static_cast<WideChar*>(std::malloc(roomUnits * sizeof(WideChar)));
  if (rendering == nullptr) throw std::bad_alloc();
  const unsigned room = roomUnits > platform::kFormatWideLimit ? platform::kFormatWideLimit
                                                               : static_cast<unsigned>(roomUnits);
  platform::formatWide(rendering, room, kShortReportFormat, e->code_, level, e->description_);
  StrCpyT(reportUnits, rendering, static_cast<int>(String::BufferSize));
  std::free(rendering);
  return report;
}

}  // namespace mlib
