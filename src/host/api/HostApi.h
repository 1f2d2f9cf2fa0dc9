#pragma once

// The one way to the host's interface: our own declarations, or, in a VELORIN_AE_SDK build, the headers of
// the host's SDK, against which the same sources compile.

#ifdef VELORIN_AE_SDK

#ifndef PF_DEEP_COLOR_AWARE
#define PF_DEEP_COLOR_AWARE 1
#endif
#include "AEConfig.h"

#include "entry.h"

#include "AE_Effect.h"
#include "AE_EffectCB.h"
#include "AE_EffectCBSuites.h"
#include "AE_EffectPixelFormat.h"
#include "AE_EffectSuites.h"
#include "AE_EffectUI.h"
#include "AE_EffectVers.h"
#include "AE_GeneralPlug.h"
#include "AE_Macros.h"
#include "adobesdk/DrawbotSuite.h"

#ifndef PF_DEF_NAME
#define PF_DEF_NAME name
#endif
#ifndef PF_DEF_NAMESPTR
#define PF_DEF_NAMESPTR namesptr
#endif
#ifndef PF_DEF_NAMEPTR
#define PF_DEF_NAMEPTR nameptr
#endif
static_assert(kPFAppSuiteVersion4 == 6 && kAEGPUtilitySuiteVersion4 == 10 && kAEGPCompSuiteVersion10 == 21 &&
              kAEGPLayerSuiteVersion8 == 14 && kAEGPStreamSuiteVersion4 == 9);

#else

#include "host/api/AegpSuites.h"
#include "host/api/Arbitrary.h"
#include "host/api/Drawbot.h"
#include "host/api/Effect.h"
#include "host/api/Events.h"
#include "host/api/PfSuites.h"
#include "host/api/SmartRender.h"

#endif
