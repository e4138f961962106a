// Settings of the host process that several rooms read: label language, local time zone, height error.
//
// Each is one atomic value of the process; any thread may read and set them at any time. Nothing here fails.
#pragma once

#include "vkcomm/export.h"

namespace vkcomm {

// The language of settings labels: 1 English (the default), 2 Traditional Chinese, any other value Simplified
// Chinese.
VKCOMM_API int nGetLang();
VKCOMM_API void vSetLang(int nLang);

// Local time minus GPS time in seconds, default 0; east of Greenwich is positive.
VKCOMM_API long lngGetTimeZoneSec();
VKCOMM_API void vSetTimeZoneSec(long lngSeconds);

// The antenna height error in metres that position parsers subtract from ellipsoidal heights, default 0.
VKCOMM_API double dGetHerror();
VKCOMM_API void vSetHerror(double dMetres);

}  // namespace vkcomm
