/// \file
/// Everything mlib offers, in one include.
#ifndef MLIB_MLIB_H
#define MLIB_MLIB_H

#include <mlib/byte.h>
#include <mlib/config.h>
#include <mlib/containers.h>
#include <mlib/exceptions.h>
#include <mlib/files.h>
#include <mlib/net.h>
#include <mlib/object.h>
#include <mlib/string.h>
#include <mlib/text.h>
#include <mlib/version.h>

#endif  // MLIB_MLIB_H
