/// \file
/// MxMap<K,V>::PrintToString: the text picture of the red-black tree. One line per depth
/// level, ended by "\r\n"; each node, leaves included, shown as "(key,colour)" with colour
/// b (black), r (red) or n; children spaced under their parents, right children joined to
/// their left siblings by hyphens. Included by <mlib/map.h>; not meant to be included alone.
#ifndef MLIB_MAPDRAWING_H
#define MLIB_MAPDRAWING_H

#include <mlib/config.h>
#include <mlib/list.h>
#include <mlib/map.h>
#include <mlib/string.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstddef>
#include <string>

namespace mlib {
namespace detail {

/// Longest picture a map draws, in UTF-16 units. The width of a level doubles with every level
/// of depth, so a deep enough tree asks for more text than memory holds; past this size the
/// picture is not made and PrintToString answers a null String.
constexpr double kMaxMapDrawingUnits = 256.0 * 1024 * 1024;

/// Counts the units a picture needs without writing them.
struct DrawingMeasure {
  double units = 0;
  void repeat(WideChar, double count) noexcept {
    if (count > 0) units += count;
  }
  void text(const WideChar*, std::size_t length) noexcept { units += static_cast<double>(length); }
};

/// Writes the picture into a buffer already sized by DrawingMeasure.
struct DrawingWriter {
  WideChar* out;
  void repeat(WideChar c, double count) noexcept {
    if (count > 0) out = std::fill_n(out, static_cast<std::size_t>(count), c);
  }
  void text(const WideChar* units, std::size_t length) noexcept {
    out = std::copy_n(units, length, out);
  }
};

/// Lays the levels out into sink. Each level is a list of records (index, text); width is W,
/// the mean of the shortest and the longest label length, rounded down.
template <typename LineData, typename Sink>
void layOutMapDrawing(MxList<MxList<LineData>>& levels, int width, Sink& sink) {
  const auto levelCount = static_cast<int>(levels.GetCount());
  int prevLen = 0;  // set once: a level's first hyphens or spaces count from the last label
  int k = 0;
  for (MxList<LineData>* level = levels.GetFirstPtr(); level != nullptr;
       level = levels.GetNextPtr(), ++k) {
    const double f = std::trunc(std::ldexp(1.0, levelCount - 1 - k));
    const bool last = k == levelCount - 1;
    long long prev = -1;
    long long j = 0;
    for (LineData* record = level->GetFirstPtr(); record != nullptr;
         record = level->GetNextPtr(), ++j) {
      const long long index = record->index;
      const WideChar* label = record->text.toString();
      const auto labelLength = static_cast<std::size_t>(record->text.GetLength());
      if (!last) {
        if (index == 0) {
          sink.repeat(WideChar(' '), std::trunc((f * 0.5 - 0.5) * width) + std::floor(f / 2));
        } else {
          const double d = static_cast<double>(index - prev) * f;
          sink.repeat(WideChar(index % 2 != 0 ? '-' : ' '),
                      d * width + std::floor(d / 2) - prevLen);
        }
        sink.text(label, labelLength);
        prevLen = static_cast<int>(labelLength);
      } else {
        if (j != 0 && j % 2 == 0) sink.repeat(WideChar(' '), 1);
        // Each missing position i = 0, 1, ... takes W spaces, plus one when i is even and
        // not 0: all spaces, so one run.
        const long long missing = index - prev - 1;
        if (missing > 0) {
          sink.repeat(WideChar(' '), static_cast<double>(missing) * width +
                                         static_cast<double>((missing - 1) / 2));
        }
        sink.text(label, labelLength);
      }
      prev = index;
    }
    sink.repeat(WideChar('\r'), 1);
    sink.repeat(WideChar('\n'), 1);
  }
}

}  // namespace detail

template <typename K, typename V>
String MxMap<K, V>::PrintToString() const {
  if (root_ == nullptr) return MxObject::PrintToString();

  // Breadth first: the work queue holds node records and one level marker; each time the
  // marker comes round, a new level begins.
  MxList<LineData> queue;
  MxList<MxList<LineData>> levels;
  if (!levels.AddTail(MxList<LineData>())) return String();
  MxList<LineData>* level = levels.GetTailPtr();
  LineData start;
  start.node = reinterpret_cast<std::uintptr_t>(root_);
  LineData marker;
  marker.node = kLevelMarker;
  queue.AddTail(start);
  queue.AddTail(marker);

  int shortest = INT_MAX;
  int longest = 0;
  std::basic_string<WideChar> label;
  while (LineData* head = queue.GetHeadPtr()) {
    if (head->node == kLevelMarker) {
      if (queue.GetCount() == 1) break;
      levels.AddTail(MxList<LineData>());
      level = levels.GetTailPtr();
      queue.AddTail(marker);
      queue.RemoveAt(0);
      continue;
    }
    const auto* node = reinterpret_cast<const NODE*>(head->node);
    LineData record;
    if (node == root_) {
      record.index = 0;
    } else {
      const unsigned doubled = 2u * static_cast<unsigned>(head->parentIndex);
      record.index = static_cast<int>(doubled + (node == node->parent->right ? 1u : 0u));
    }
    const String keyText = ElementToString(node->key);
    label.assign(1, WideChar('('));
    if (keyText.IsEmpty()) {
      label.append({WideChar('n'), WideChar('i'), WideChar('l')});
    } else {
      label.append(keyText.toString(), static_cast<std::size_t>(keyText.GetLength()));
    }
    label.push_back(WideChar(','));
    label.push_back(WideChar(node->colour == kBlack ? 'b' : node->colour == kRed ? 'r' : 'n'));
    label.push_back(WideChar(')'));
    record.text = label.c_str();
    const auto labelLength = static_cast<int>(label.size());
    if (labelLength < shortest) shortest = labelLength;
    if (labelLength > longest) longest = labelLength;
    level->AddTail(record);
    for (const NODE* child : {node->left, node->right}) {
      if (child == nullptr) continue;
      LineData next;
      next.parentIndex = record.index;
      next.node = reinterpret_cast<std::uintptr_t>(child);
      queue.AddTail(next);
    }
    queue.RemoveAt(0);
  }

  const int width = (shortest + longest) / 2;
  detail::DrawingMeasure measure;
  detail::layOutMapDrawing(levels, width, measure);
  if (measure.units > detail::kMaxMapDrawingUnits) return String();
  const auto units = static_cast<unsigned>(measure.units);
  String result;
  detail::DrawingWriter writer{result.AllocBuffer(units > 5120 ? units : 5120)};
  detail::layOutMapDrawing(levels, width, writer);
  return result;
}

}  // namespace mlib

#endif  // MLIB_MAPDRAWING_H
