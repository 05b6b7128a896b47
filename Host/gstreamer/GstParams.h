#pragma once

#include "Sdk/ZChromaKeyC.h"

#include <glib-object.h>

#include <string>
#include <vector>

/// The keyer's parameters as properties of the element, made from what the module says of them.

/// A parameter and its property.
struct GST_PARAM
{
    int nGeneration; ///< zck_generation: keyers of the other one do not have it
    std::string strProperty;
    zck_param info;
};

/// The parameters of both generations, the second one's first; read from the module at the first call. Empty where the
/// module is missing: why, has gone to GLib's log as a warning. From any thread.
const std::vector<GST_PARAM>& GstParams_All();
/// Installs a property for each of them, with numbers from this one on.
void GstParams_Install(GObjectClass* _pClass, guint _nFirst);
/// The number that a value of such a property stands for, and the other way round. The value is of the property's type.
double GstParams_Read(const GValue* _pValue);
void GstParams_Write(double _dblNumber, GValue* _pValue);
