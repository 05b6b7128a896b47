#include "gstreamer/ElementKeyer.h"
#include "gstreamer/GstFormats.h"
#include "gstreamer/GstParams.h"

#include <gst/video/gstvideofilter.h>
#include <gst/video/navigation.h>
#include <gst/video/video.h>

#include <cmath>

// The element "zchromakey". GLib calls its functions from C; the one exception that could leave them is that memory has
// run out, where GLib itself ends the program.

struct GstZChromaKey
{
    GstVideoFilter base;
    CElementKeyer* pKeyer;
    GstVideoConverter* pConverter; ///< for pictures that are not keyed; made for the first one of its size and format
};

struct GstZChromaKeyClass
{
    GstVideoFilterClass base;
};

G_DEFINE_TYPE(GstZChromaKey, gst_zchromakey, GST_TYPE_VIDEO_FILTER)

GST_DEBUG_CATEGORY_STATIC(gst_zchromakey_debug);

namespace
{

enum eProperty : guint
{
    eP_Auto = 1,
    eP_Color,
    eP_Keys,
    eP_Document,
    eP_Generation,
    eP_Threads,
    eP_Premultiplied,
    eP_Mouse,
    eP_FirstParam
};

GstZChromaKey* Self(gpointer _pObject)
{
    return static_cast<GstZChromaKey*>(_pObject);
}

CElementKeyer& KeyerOf(gpointer _pObject)
{
    return *Self(_pObject)->pKeyer;
}

const char* Text(const GValue* _pValue)
{
    const char* const pszText = g_value_get_string(_pValue);
    return pszText ? pszText : "";
}

bool IsParam(guint _nId)
{
    return _nId >= eP_FirstParam && _nId - eP_FirstParam < GstParams_All().size();
}

void SettingRead(guint _nId, const GValue* _pValue, GST_SETTINGS& _settings)
{
    switch (_nId)
    {
    case eP_Auto:
        _settings.bAuto = g_value_get_boolean(_pValue);
        break;
    case eP_Color:
        _settings.nColor = g_value_get_uint(_pValue) & 0xFFFFFF;
        break;
    case eP_Keys:
        _settings.strKeys = Text(_pValue);
        break;
    case eP_Document:
        _settings.strDocument = Text(_pValue);
        break;
    case eP_Generation:
        _settings.nGeneration = g_value_get_int(_pValue);
        break;
    case eP_Threads:
        _settings.nThreads = g_value_get_int(_pValue);
        break;
    case eP_Premultiplied:
        _settings.bPremultiplied = g_value_get_boolean(_pValue);
        break;
    case eP_Mouse:
        _settings.bMouse = g_value_get_boolean(_pValue);
        break;
    default:
        break;
    }
}

void SettingWrite(guint _nId, const GST_SETTINGS& _settings, GValue* _pValue)
{
    switch (_nId)
    {
    case eP_Auto:
        return g_value_set_boolean(_pValue, _settings.bAuto);
    case eP_Color:
        return g_value_set_uint(_pValue, _settings.nColor);
    case eP_Keys:
        return g_value_set_string(_pValue, _settings.strKeys.c_str());
    case eP_Generation:
        return g_value_set_int(_pValue, _settings.nGeneration);
    case eP_Threads:
        return g_value_set_int(_pValue, _settings.nThreads);
    case eP_Premultiplied:
        return g_value_set_boolean(_pValue, _settings.bPremultiplied);
    case eP_Mouse:
        return g_value_set_boolean(_pValue, _settings.bMouse);
    default:
        break;
    }
}

void PropertySet(GObject* _pObject, guint _nId, const GValue* _pValue, GParamSpec* _pSpec)
{
    if (IsParam(_nId))
        KeyerOf(_pObject).ParamSet(_nId - eP_FirstParam, GstParams_Read(_pValue));
    else if (_nId < eP_FirstParam)
        KeyerOf(_pObject).SettingsChange([&](GST_SETTINGS& _settings) { SettingRead(_nId, _pValue, _settings); });
    else
        G_OBJECT_WARN_INVALID_PROPERTY_ID(_pObject, _nId, _pSpec);
}

void PropertyGet(GObject* _pObject, guint _nId, GValue* _pValue, GParamSpec* _pSpec)
{
    if (IsParam(_nId))
        GstParams_Write(KeyerOf(_pObject).ParamGet(_nId - eP_FirstParam), _pValue);
    else if (_nId == eP_Document)
        g_value_set_string(_pValue, KeyerOf(_pObject).Document().c_str());
    else if (_nId < eP_FirstParam)
        SettingWrite(_nId, KeyerOf(_pObject).Settings(), _pValue);
    else
        G_OBJECT_WARN_INVALID_PROPERTY_ID(_pObject, _nId, _pSpec);
}

void Finalize(GObject* _pObject)
{
    delete Self(_pObject)->pKeyer;
    g_clear_pointer(&Self(_pObject)->pConverter, gst_video_converter_free);
    G_OBJECT_CLASS(gst_zchromakey_parent_class)->finalize(_pObject);
}

// Negotiation: size, rate and field order pass, while format and what belongs to YUV alone do not.

GstCaps* OtherCaps(GstCaps* _pCaps, const GValue* _pNames)
{
    GstCaps* const pOther = gst_caps_copy(_pCaps);
    for (guint n = 0; n < gst_caps_get_size(pOther); ++n)
    {
        GstStructure* const pStructure = gst_caps_get_structure(pOther, n);
        gst_structure_remove_fields(pStructure, "colorimetry", "chroma-site", nullptr);
        gst_structure_set_value(pStructure, "format", _pNames);
    }
    return pOther;
}

GstCaps* TransformCaps(GstBaseTransform* _pBase, GstPadDirection _eSide, GstCaps* _pCaps, GstCaps* _pFilterOrNull)
{
    const GstPadDirection eOther = _eSide == GST_PAD_SINK ? GST_PAD_SRC : GST_PAD_SINK;
    GValue names = G_VALUE_INIT;
    GstFormats_Names(eOther, KeyerOf(_pBase).Settings().nGeneration != ZCK_GENERATION_1, &names);
    GstCaps* pOther = OtherCaps(_pCaps, &names);
    g_value_unset(&names);
    if (_pFilterOrNull)
    {
        GstCaps* const pBoth = gst_caps_intersect_full(_pFilterOrNull, pOther, GST_CAPS_INTERSECT_FIRST);
        gst_caps_replace(&pOther, pBoth);
        gst_caps_unref(pBoth);
    }
    return pOther;
}

// Results of 16 bits are for those who ask for nothing else: who takes everything often names the deepest format first.
GstCaps* FixateCaps(GstBaseTransform* _pBase, GstPadDirection _eSide, GstCaps* _pCaps, GstCaps* _pOther)
{
    if (_eSide == GST_PAD_SINK)
    {
        GstCaps* const pPlain = gst_caps_from_string("video/x-raw, format=BGRA");
        GstCaps* const pBoth = gst_caps_intersect(_pOther, pPlain);
        gst_caps_unref(pPlain);
        if (!gst_caps_is_empty(pBoth))
            gst_caps_replace(&_pOther, pBoth);
        gst_caps_unref(pBoth);
    }
    return GST_BASE_TRANSFORM_CLASS(gst_zchromakey_parent_class)->fixate_caps(_pBase, _eSide, _pCaps, _pOther);
}

gboolean InfoSet(GstVideoFilter* _pFilter, GstCaps*, GstVideoInfo*, GstCaps*, GstVideoInfo*)
{
    g_clear_pointer(&Self(_pFilter)->pConverter, gst_video_converter_free);
    return TRUE;
}

// One buffer more than usual is in use: the last one is kept for picks.
gboolean ProposeAllocation(GstBaseTransform* _pBase, GstQuery* _pDecide, GstQuery* _pQuery)
{
    if (!GST_BASE_TRANSFORM_CLASS(gst_zchromakey_parent_class)->propose_allocation(_pBase, _pDecide, _pQuery))
        return FALSE;
    if (gst_query_get_n_allocation_pools(_pQuery) > 0)
    {
        GstBufferPool* pPool = nullptr;
        guint nSize = 0;
        guint nLeast = 0;
        guint nMost = 0;
        gst_query_parse_nth_allocation_pool(_pQuery, 0, &pPool, &nSize, &nLeast, &nMost);
        gst_query_set_nth_allocation_pool(_pQuery, 0, pPool, nSize, nLeast + 1, nMost);
        gst_clear_object(&pPool);
    }
    return TRUE;
}

// Frames.

gboolean Start(GstBaseTransform* _pBase)
{
    KeyerOf(_pBase).Start();
    return TRUE;
}

gboolean Stop(GstBaseTransform* _pBase)
{
    KeyerOf(_pBase).Stop();
    return TRUE;
}

void BeforeTransform(GstBaseTransform* _pBase, GstBuffer* _pBuffer)
{
    const GstClockTime nTime = gst_segment_to_stream_time(&_pBase->segment, GST_FORMAT_TIME, GST_BUFFER_PTS(_pBuffer));
    if (GST_CLOCK_TIME_IS_VALID(nTime))
        gst_object_sync_values(GST_OBJECT(_pBase), nTime);
}

// Brings a picture as it is, opaque, into the format of the output.
bool Convert(GstZChromaKey* _pSelf, const GstVideoFrame* _pIn, GstVideoFrame* _pOut)
{
    if (!_pSelf->pConverter)
        _pSelf->pConverter = gst_video_converter_new(
            &_pIn->info, &_pOut->info,
            gst_structure_new("zchromakey", GST_VIDEO_CONVERTER_OPT_ALPHA_MODE, GST_TYPE_VIDEO_ALPHA_MODE,
                              GST_VIDEO_ALPHA_MODE_SET, GST_VIDEO_CONVERTER_OPT_ALPHA_VALUE, G_TYPE_DOUBLE, 1.0,
                              nullptr));
    if (_pSelf->pConverter)
        gst_video_converter_frame(_pSelf->pConverter, _pIn, _pOut);
    return _pSelf->pConverter != nullptr;
}

GstFlowReturn TransformFrame(GstVideoFilter* _pFilter, GstVideoFrame* _pIn, GstVideoFrame* _pOut)
{
    GstZChromaKey* const pSelf = Self(_pFilter);
    const bool bOdd = GstFormats_IsOdd(_pIn->info);
    const bool bReady = !bOdd || Convert(pSelf, _pIn, _pOut);
    if ((bReady && KeyerOf(pSelf).Process(bOdd ? *_pOut : *_pIn, *_pOut)) || Convert(pSelf, _pIn, _pOut))
        return GST_FLOW_OK;
    GST_ELEMENT_ERROR(pSelf, STREAM, FORMAT, (nullptr), ("no conversion from %s", GST_VIDEO_INFO_NAME(&_pIn->info)));
    return GST_FLOW_ERROR;
}

// Events.

gboolean SinkEvent(GstBaseTransform* _pBase, GstEvent* _pEvent)
{
    if (GST_EVENT_TYPE(_pEvent) == GST_EVENT_STREAM_START)
        KeyerOf(_pBase).StreamStart();
    else if (GST_EVENT_TYPE(_pEvent) == GST_EVENT_FLUSH_STOP)
        KeyerOf(_pBase).Flush();
    return GST_BASE_TRANSFORM_CLASS(gst_zchromakey_parent_class)->sink_event(_pBase, _pEvent);
}

// The left button keys; the right one, and the left one with shift, protect.
bool Click(GstBaseTransform* _pBase, GstEvent* _pEvent)
{
    gint nButton = 0;
    gdouble dblX = 0;
    gdouble dblY = 0;
    GstNavigationModifierType eModifiers = GST_NAVIGATION_MODIFIER_NONE;
    if (gst_navigation_event_get_type(_pEvent) != GST_NAVIGATION_EVENT_MOUSE_BUTTON_PRESS ||
        !gst_navigation_event_parse_mouse_button_event(_pEvent, &nButton, &dblX, &dblY) ||
        (nButton != 1 && nButton != 3))
        return false;
    gst_navigation_event_parse_modifier_state(_pEvent, &eModifiers);
    const bool bProtect = nButton == 3 || (eModifiers & GST_NAVIGATION_MODIFIER_SHIFT_MASK) != 0;
    KeyerOf(_pBase).Pick(static_cast<int>(std::floor(dblX)), static_cast<int>(std::floor(dblY)),
                         bProtect ? ZCK_USE_PROTECT : ZCK_USE_KEY);
    return true;
}

gboolean SourceEvent(GstBaseTransform* _pBase, GstEvent* _pEvent)
{
    if (GST_EVENT_TYPE(_pEvent) != GST_EVENT_NAVIGATION || !KeyerOf(_pBase).Settings().bMouse ||
        !Click(_pBase, _pEvent))
        return GST_BASE_TRANSFORM_CLASS(gst_zchromakey_parent_class)->src_event(_pBase, _pEvent);
    gst_event_unref(_pEvent);
    return TRUE;
}

// Signals that applications emit.

gboolean OnPick(GstZChromaKey* _pSelf, gint _x, gint _y)
{
    return _pSelf->pKeyer->Pick(_x, _y, ZCK_USE_KEY);
}

gboolean OnProtect(GstZChromaKey* _pSelf, gint _x, gint _y)
{
    return _pSelf->pKeyer->Pick(_x, _y, ZCK_USE_PROTECT);
}

gboolean OnUndo(GstZChromaKey* _pSelf)
{
    return _pSelf->pKeyer->Step(-1);
}

gboolean OnRedo(GstZChromaKey* _pSelf)
{
    return _pSelf->pKeyer->Step(1);
}

gboolean OnReset(GstZChromaKey* _pSelf)
{
    return _pSelf->pKeyer->Reset();
}

void OnAuto(GstZChromaKey* _pSelf)
{
    _pSelf->pKeyer->Search();
}

void InstallSignals(GType _type)
{
    const auto eFlags = static_cast<GSignalFlags>(G_SIGNAL_RUN_LAST | G_SIGNAL_ACTION);
    for (const auto& [pszName, pHandler] : {std::pair("pick", G_CALLBACK(OnPick)), {"protect", G_CALLBACK(OnProtect)}})
        g_signal_new_class_handler(pszName, _type, eFlags, pHandler, nullptr, nullptr, nullptr, G_TYPE_BOOLEAN, 2,
                                   G_TYPE_INT, G_TYPE_INT);
    for (const auto& [pszName, pHandler] :
         {std::pair("undo", G_CALLBACK(OnUndo)), {"redo", G_CALLBACK(OnRedo)}, {"reset", G_CALLBACK(OnReset)}})
        g_signal_new_class_handler(pszName, _type, eFlags, pHandler, nullptr, nullptr, nullptr, G_TYPE_BOOLEAN, 0);
    g_signal_new_class_handler("auto", _type, eFlags, G_CALLBACK(OnAuto), nullptr, nullptr, nullptr, G_TYPE_NONE, 0);
}

void InstallProperties(GObjectClass* _pClass)
{
    const auto fnFlags = [](int _nMore) {
        return static_cast<GParamFlags>(G_PARAM_READWRITE | G_PARAM_STATIC_STRINGS | _nMore);
    };
    const GParamFlags eLive = fnFlags(GST_PARAM_MUTABLE_PLAYING);
    const GParamFlags eControlled = fnFlags(GST_PARAM_MUTABLE_PLAYING | GST_PARAM_CONTROLLABLE);
    const auto fnInstall = [&](eProperty _eProperty, GParamSpec* _pSpec) {
        g_object_class_install_property(_pClass, _eProperty, _pSpec);
    };
    fnInstall(eP_Auto, g_param_spec_boolean("auto", "Auto",
                                            "Find the backdrop in the picture, unless color, keys, document or a pick "
                                            "says what it is",
                                            TRUE, eLive));
    fnInstall(eP_Color, g_param_spec_uint("color", "Color", "The backdrop's colour, 0xRRGGBB (0 = not given)", 0,
                                          G_MAXUINT, 0, eControlled));
    fnInstall(eP_Keys, g_param_spec_string("keys", "Keys",
                                           "File with keys, as \"zkhost detect\" and \"zkhost key "
                                           "--save-keys\" write it",
                                           "", eLive));
    fnInstall(eP_Document, g_param_spec_string("document", "Document",
                                               "What such a file holds; read, it has the keys "
                                               "and parameters of this moment",
                                               "", eLive));
    fnInstall(eP_Generation, g_param_spec_int("generation", "Generation",
                                              "2: unmixes colours and learns the backdrop; "
                                              "1: keys boxes of colours, faster; from the next start on",
                                              1, 2, 2, fnFlags(GST_PARAM_MUTABLE_READY)));
    fnInstall(eP_Threads, g_param_spec_int("threads", "Threads", "Threads that key a frame (0 = the keyer's default)",
                                           0, 16, 0, eLive));
    fnInstall(eP_Premultiplied, g_param_spec_boolean("premultiplied", "Premultiplied",
                                                     "Multiply colours by alpha; "
                                                     "GStreamer's own elements take them straight",
                                                     FALSE, eLive));
    fnInstall(eP_Mouse, g_param_spec_boolean("mouse", "Mouse",
                                             "A click in the sink's window keys the colour there; with "
                                             "shift, or with the right button, it protects it",
                                             TRUE, eLive));
    GstParams_Install(_pClass, eP_FirstParam);
}

void AddTemplate(GstElementClass* _pClass, const char* _pszName, GstPadDirection _eSide)
{
    GstCaps* const pCaps = GstFormats_Caps(_eSide);
    gst_element_class_add_pad_template(_pClass, gst_pad_template_new(_pszName, _eSide, GST_PAD_ALWAYS, pCaps));
    gst_caps_unref(pCaps);
}

void ZCK_CALL OnLog(void*, int _nLevel, const char* _pszLine)
{
    static constexpr GstDebugLevel c_arrLevels[] = {GST_LEVEL_ERROR, GST_LEVEL_WARNING, GST_LEVEL_INFO,
                                                    GST_LEVEL_DEBUG};
    GST_CAT_LEVEL_LOG(gst_zchromakey_debug, c_arrLevels[CLAMP(_nLevel, 1, 4) - 1], nullptr, "%s", _pszLine);
}

} // namespace

static void gst_zchromakey_init(GstZChromaKey* _pSelf)
{
    _pSelf->pKeyer = new CElementKeyer(GST_ELEMENT(_pSelf));
}

static void gst_zchromakey_class_init(GstZChromaKeyClass* _pClass)
{
    GST_DEBUG_CATEGORY_INIT(gst_zchromakey_debug, "zchromakey", 0, "chroma keyer");
    std::string strWhy;
    if (const SHELL_API* const pApi = ShellModule_Get(strWhy))
        pApi->zck_log_set(OnLog, nullptr, 3);
    auto* const pObject = G_OBJECT_CLASS(_pClass);
    pObject->set_property = PropertySet;
    pObject->get_property = PropertyGet;
    pObject->finalize = Finalize;
    InstallProperties(pObject);
    InstallSignals(G_TYPE_FROM_CLASS(_pClass));
    auto* const pElement = GST_ELEMENT_CLASS(_pClass);
    gst_element_class_set_static_metadata(pElement, "Chroma keyer", "Filter/Effect/Video",
                                          "Makes a green, blue or any other backdrop transparent", "ZChromaKey");
    AddTemplate(pElement, "sink", GST_PAD_SINK);
    AddTemplate(pElement, "src", GST_PAD_SRC);
    auto* const pBase = GST_BASE_TRANSFORM_CLASS(_pClass);
    pBase->transform_caps = TransformCaps;
    pBase->fixate_caps = FixateCaps;
    pBase->propose_allocation = ProposeAllocation;
    pBase->start = Start;
    pBase->stop = Stop;
    pBase->before_transform = BeforeTransform;
    pBase->sink_event = SinkEvent;
    pBase->src_event = SourceEvent;
    GST_VIDEO_FILTER_CLASS(_pClass)->set_info = InfoSet;
    GST_VIDEO_FILTER_CLASS(_pClass)->transform_frame = TransformFrame;
}

static gboolean PluginInit(GstPlugin* _pPlugin)
{
    return gst_element_register(_pPlugin, "zchromakey", GST_RANK_NONE, gst_zchromakey_get_type());
}

#define PACKAGE "zchromakey"
GST_PLUGIN_DEFINE(GST_VERSION_MAJOR, GST_VERSION_MINOR, zchromakey, "Chroma keyer", PluginInit, ZCK_VERSION, "MIT/X11",
                  "ZChromaKey", "unknown")
