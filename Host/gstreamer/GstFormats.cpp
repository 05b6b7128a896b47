#include "gstreamer/GstFormats.h"

namespace
{

struct GST_FORMAT
{
    GstVideoFormat eFormat;
    uint32_t nCode;
    bool bOut; ///< results can be of it
};

// In the order in which they are offered to others.
constexpr GST_FORMAT c_arrGstFormats[] = {
    {GST_VIDEO_FORMAT_BGRA, ZCK_FORMAT_ARGB32, true},
    {GST_VIDEO_FORMAT_RGBA, ZCK_FORMAT_RGBA32, true},
    {GST_VIDEO_FORMAT_BGRx, ZCK_FORMAT_RGB32, false},
    {GST_VIDEO_FORMAT_UYVY, ZCK_FORMAT_UYVY, false},
    {GST_VIDEO_FORMAT_YUY2, ZCK_FORMAT_YUY2, false},
    {GST_VIDEO_FORMAT_YVYU, ZCK_FOURCC('Y', 'V', 'Y', 'U'), false},
    {GST_VIDEO_FORMAT_v210, ZCK_FORMAT_V210, false},
    {GST_VIDEO_FORMAT_P010_10LE, ZCK_FORMAT_P010, false},
    {GST_VIDEO_FORMAT_Y42B, ZCK_FORMAT_I422, false},
    {GST_VIDEO_FORMAT_NV12, ZCK_FORMAT_NV12, false},
    {GST_VIDEO_FORMAT_I420, ZCK_FORMAT_I420, false},
    {GST_VIDEO_FORMAT_YV12, ZCK_FOURCC('Y', 'V', '1', '2'), false},
    {GST_VIDEO_FORMAT_BGR, ZCK_FORMAT_RGB24, false},
    {GST_VIDEO_FORMAT_r210, ZCK_FOURCC('r', '2', '1', '0'), false},
    {GST_VIDEO_FORMAT_BGRA64_LE, ZCK_FORMAT_ARGB64, true},
};

uint32_t CodeOf(GstVideoFormat _eFormat)
{
    for (const GST_FORMAT& format : c_arrGstFormats)
        if (format.eFormat == _eFormat)
            return format.nCode;
    return 0;
}

int32_t MatrixOf(const GstVideoInfo& _info)
{
    switch (_info.colorimetry.matrix)
    {
    case GST_VIDEO_COLOR_MATRIX_BT601:
        return ZCK_MATRIX_601;
    case GST_VIDEO_COLOR_MATRIX_BT709:
        return ZCK_MATRIX_709;
    case GST_VIDEO_COLOR_MATRIX_BT2020:
        return ZCK_MATRIX_2020;
    default:
        return ZCK_MATRIX_DEFAULT;
    }
}

int32_t RangeOf(const GstVideoInfo& _info)
{
    return _info.colorimetry.range == GST_VIDEO_COLOR_RANGE_0_255    ? ZCK_RANGE_FULL
           : _info.colorimetry.range == GST_VIDEO_COLOR_RANGE_16_235 ? ZCK_RANGE_STUDIO
                                                                     : ZCK_RANGE_DEFAULT;
}

// Progressive frames of mixed streams have no flag; field order is the buffer's, or else that of the caps.
int32_t FieldsOf(const GstVideoFrame& _frame)
{
    if (!GST_VIDEO_FRAME_IS_INTERLACED(&_frame) || GST_VIDEO_FRAME_HEIGHT(&_frame) % 2 != 0)
        return ZCK_FIELDS_NONE;
    const bool bTop = GST_VIDEO_FRAME_IS_TFF(&_frame) ||
                      GST_VIDEO_INFO_FIELD_ORDER(&_frame.info) == GST_VIDEO_FIELD_ORDER_TOP_FIELD_FIRST;
    return bTop ? ZCK_FIELDS_TOP : ZCK_FIELDS_BOTTOM;
}

} // namespace

void GstFormats_Names(GstPadDirection _eSide, bool _bDeep, GValue* _pNames)
{
    g_value_init(_pNames, GST_TYPE_LIST);
    for (const GST_FORMAT& format : c_arrGstFormats)
    {
        if (_eSide == GST_PAD_SRC && (!format.bOut || (!_bDeep && format.nCode == ZCK_FORMAT_ARGB64)))
            continue;
        GValue name = G_VALUE_INIT;
        g_value_init(&name, G_TYPE_STRING);
        g_value_set_static_string(&name, gst_video_format_to_string(format.eFormat));
        gst_value_list_append_and_take_value(_pNames, &name);
    }
}

GstCaps* GstFormats_Caps(GstPadDirection _eSide)
{
    GstCaps* const pCaps = gst_caps_from_string("video/x-raw, width=" GST_VIDEO_SIZE_RANGE
                                                ", height=" GST_VIDEO_SIZE_RANGE ", framerate=" GST_VIDEO_FPS_RANGE);
    GValue names = G_VALUE_INIT;
    GstFormats_Names(_eSide, true, &names);
    gst_caps_set_value(pCaps, "format", &names);
    g_value_unset(&names);
    return pCaps;
}

bool GstFormats_IsOdd(const GstVideoInfo& _info)
{
    const bool bPairsAcross = GST_VIDEO_FORMAT_INFO_W_SUB(_info.finfo, 1) != 0;
    const bool bPairsDown = GST_VIDEO_FORMAT_INFO_H_SUB(_info.finfo, 1) != 0;
    return (bPairsAcross && GST_VIDEO_INFO_WIDTH(&_info) % 2 != 0) ||
           (bPairsDown && GST_VIDEO_INFO_HEIGHT(&_info) % 2 != 0);
}

zck_frame GstFormats_Frame(const GstVideoFrame& _frame)
{
    zck_frame frame = {};
    frame.size = sizeof(frame);
    frame.format = CodeOf(GST_VIDEO_FRAME_FORMAT(&_frame));
    frame.width = GST_VIDEO_FRAME_WIDTH(&_frame);
    frame.height = GST_VIDEO_FRAME_HEIGHT(&_frame);
    for (guint nPlane = 0; nPlane < GST_VIDEO_FRAME_N_PLANES(&_frame); ++nPlane)
    {
        frame.planes[nPlane] = GST_VIDEO_FRAME_PLANE_DATA(&_frame, nPlane);
        frame.row_bytes[nPlane] = GST_VIDEO_FRAME_PLANE_STRIDE(&_frame, nPlane);
    }
    frame.fields = FieldsOf(_frame);
    frame.matrix = MatrixOf(_frame.info);
    frame.range = RangeOf(_frame.info);
    return frame;
}
