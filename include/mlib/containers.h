/// \file
/// The containers and their locks: MxLock, MxSyncBase and MxContainerBase (<mlib/lock.h>),
/// element printing (<mlib/elementPrint.h>), the list MxList (<mlib/list.h>), the hash-ordered
/// tree map MxMap with its drawing (<mlib/map.h>) and its locked form SyncMap
/// (<mlib/syncMap.h>). Include this header rather than the parts.
#ifndef MLIB_CONTAINERS_H
#define MLIB_CONTAINERS_H

#include <mlib/elementPrint.h>
#include <mlib/list.h>
#include <mlib/lock.h>
#include <mlib/map.h>
#include <mlib/syncMap.h>

#endif  // MLIB_CONTAINERS_H
