// The add-on's build environment, included before any DevKit header (as the DevKit's add-on
// template does).
#pragma once

#if defined(_MSC_VER) && !defined(WINDOWS)
#define WINDOWS
#endif

#if defined(macintosh) && defined(__APPLE__)
#include <CoreServices/CoreServices.h>
#endif

#ifndef ACExtension
#define ACExtension
#endif
