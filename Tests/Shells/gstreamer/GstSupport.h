#pragma once

#include <cstdlib>

/// Where GStreamer finds the element of this build, and where it remembers what it found; also for programs that are
/// started.
inline void Gst_FindElement()
{
    setenv("GST_PLUGIN_PATH", ZCK_GST_FOLDER, 1);
    setenv("GST_REGISTRY", ZCK_GST_REGISTRY, 1);
    unsetenv("ZCHROMAKEY_MODULE");
}
