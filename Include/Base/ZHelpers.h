#pragma once

/// All of the video helpers: free functions over plain records, without state, safe from any thread.

#include "Base/ZAudio.h"
#include "Base/ZPixelFormats.h"
#include "Base/ZPixelNames.h"
#include "Base/ZPlanes.h"
#include "Base/ZVideoFormats.h"
#include "Base/ZVideoProps.h"
#include "Base/ZVideoText.h"
