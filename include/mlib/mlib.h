// Everything mlib offers, in one include.
#ifndef MLIB_MLIB_H
#define MLIB_MLIB_H

#include <mlib/config.h>
#include <mlib/text.h>

#endif  // MLIB_MLIB_H
