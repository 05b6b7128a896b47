#include "Shells/gstreamer/GstSupport.h"

#include <gst/check/gstharness.h>
#include <gst/controller/controller.h>
#include <gst/gst.h>
#include <gst/video/navigation.h>
#include <gst/video/video.h>

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

// The element in GStreamer's test harness.

namespace
{

using BYTES = std::vector<uint8_t>;

/// A backdrop of green with some grain, darker in the middle, and a red box there.
BYTES Scene(int _nWidth, int _nHeight, bool _bBox = true)
{
    BYTES vecPixels;
    uint32_t nGrain = 1;
    for (int y = 0; y < _nHeight; ++y)
        for (int x = 0; x < _nWidth; ++x)
        {
            nGrain = nGrain * 1664525 + 1013904223;
            const bool bBox = 3 * x > _nWidth && 3 * x < 2 * _nWidth && 3 * y > _nHeight && 3 * y < 2 * _nHeight;
            const int nAside = 2 * x - _nWidth;
            const auto nGreen = 140 + static_cast<int>(nGrain >> 30) + 40 * nAside * nAside / (_nWidth * _nWidth);
            const uint8_t arrBox[] = {60, 70, 200, 0};
            const uint8_t arrBackdrop[] = {60, static_cast<uint8_t>(nGreen), 70, 0};
            const uint8_t* const pPixel = bBox && _bBox ? arrBox : arrBackdrop;
            vecPixels.insert(vecPixels.end(), pPixel, pPixel + 4);
        }
    return vecPixels;
}

GstBuffer* BufferOf(const BYTES& _vecBytes, GstClockTime _nTime)
{
    GstBuffer* const pBuffer = gst_buffer_new_memdup(_vecBytes.data(), _vecBytes.size());
    GST_BUFFER_PTS(pBuffer) = _nTime;
    GST_BUFFER_DURATION(pBuffer) = 40 * GST_MSECOND;
    return pBuffer;
}

/// Objects that tests must not leave behind, and that are alive.
int Alive()
{
    int nAlive = 0;
    for (GList* pTracer = gst_tracing_get_active_tracers(); pTracer; pTracer = g_list_delete_link(pTracer, pTracer))
    {
        GstStructure* pInfo = nullptr;
        g_signal_emit_by_name(pTracer->data, "get-live-objects", &pInfo);
        const GValue* const pObjects = gst_structure_get_value(pInfo, "live-objects-list");
        for (guint n = 0; n < gst_value_list_get_size(pObjects); ++n)
        {
            const GstStructure* const pOne = gst_value_get_structure(gst_value_list_get_value(pObjects, n));
            const GType type = G_VALUE_TYPE(gst_structure_get_value(pOne, "object"));
            nAlive += g_type_is_a(type, GST_TYPE_ELEMENT) || type == GST_TYPE_BUFFER || type == GST_TYPE_EVENT;
        }
        gst_structure_free(pInfo);
        gst_object_unref(pTracer->data);
    }
    return nAlive;
}

class GstElementTest : public testing::Test
{
protected:
    static void SetUpTestSuite()
    {
        Gst_FindElement();
        setenv("GST_TRACERS", "leaks", 1);
        gst_init(nullptr, nullptr);
    }
    void TearDown() override
    {
        m_upHarness.reset();
        gst_task_cleanup_all(); // threads let go of their tasks at their very end
        GList* const pTracers = gst_tracing_get_active_tracers();
        EXPECT_TRUE(pTracers) << "nobody looks for leaks";
        g_list_free_full(pTracers, gst_object_unref);
        EXPECT_EQ(Alive(), 0);
    }

    void Make(const char* _pszElement, const char* _pszCaps)
    {
        m_upHarness.reset(gst_harness_new_parse(_pszElement));
        m_pElement = gst_harness_find_element(m_upHarness.get(), "zchromakey");
        ASSERT_TRUE(m_pElement);
        gst_object_unref(m_pElement); // the harness has it
        CapsSet(_pszCaps);
    }
    void CapsSet(const char* _pszCaps)
    {
        gst_harness_set_src_caps_str(m_upHarness.get(), _pszCaps);
    }
    BYTES Push(const BYTES& _vecPixels, guint _nFlags = 0)
    {
        GstBuffer* const pIn = BufferOf(_vecPixels, m_nTime);
        m_nTime += 40 * GST_MSECOND;
        GST_BUFFER_FLAG_SET(pIn, _nFlags);
        EXPECT_EQ(gst_harness_push(m_upHarness.get(), pIn), GST_FLOW_OK);
        GstBuffer* const pOut = gst_harness_try_pull(m_upHarness.get());
        if (!pOut)
            return {};
        BYTES vecOut(gst_buffer_get_size(pOut));
        gst_buffer_extract(pOut, 0, vecOut.data(), vecOut.size());
        gst_buffer_unref(pOut);
        return vecOut;
    }
    /// Alpha in the corner and in the middle of the picture that a frame becomes.
    std::pair<int, int> Alphas(const BYTES& _vecPixels)
    {
        const BYTES vecOut = Push(_vecPixels);
        if (vecOut.size() != _vecPixels.size())
            return {-1, -1};
        return {vecOut[3], vecOut[static_cast<size_t>(c_nHeight / 2 * c_nWidth + c_nWidth / 2) * 4 + 3]};
    }
    template <class... Arguments> bool Emit(const char* _pszSignal, Arguments... _arguments)
    {
        gboolean bDone = FALSE;
        g_signal_emit_by_name(m_pElement, _pszSignal, _arguments..., &bDone);
        return bDone;
    }
    void Click(double _dblX, double _dblY, GstNavigationModifierType _eModifiers)
    {
        gst_harness_push_upstream_event(m_upHarness.get(),
                                        gst_navigation_event_new_mouse_button_press(1, _dblX, _dblY, _eModifiers));
    }

    struct TEARDOWN
    {
        void operator()(GstHarness* _pHarness) const
        {
            gst_harness_teardown(_pHarness);
        }
    };

    static constexpr int c_nWidth = 96;
    static constexpr int c_nHeight = 64;
    static constexpr const char* c_pszCaps = "video/x-raw,format=BGRx,width=96,height=64,framerate=25/1";
    const std::pair<int, int> m_keyed{0, 255};
    const std::pair<int, int> m_opaque{255, 255};
    std::unique_ptr<GstHarness, TEARDOWN> m_upHarness;
    GstElement* m_pElement = nullptr;
    GstClockTime m_nTime = 0;
};

TEST_F(GstElementTest, SignalsAndClicksEditTheKeys)
{
    Make("zchromakey auto=false", c_pszCaps);
    const BYTES vecScene = Scene(c_nWidth, c_nHeight);
    EXPECT_FALSE(Emit("pick", 2, 2)) << "there is no picture yet";
    EXPECT_EQ(Alphas(vecScene), m_opaque);
    EXPECT_FALSE(Emit("pick", c_nWidth, 2)) << "beside the picture";
    EXPECT_TRUE(Emit("pick", 2, 2));
    EXPECT_EQ(Alphas(vecScene), m_keyed);
    EXPECT_TRUE(Emit("undo"));
    EXPECT_EQ(Alphas(vecScene), m_opaque);
    EXPECT_FALSE(Emit("undo"));
    EXPECT_TRUE(Emit("redo"));
    EXPECT_EQ(Alphas(vecScene), m_keyed);
    EXPECT_TRUE(Emit("reset"));
    EXPECT_EQ(Alphas(vecScene), m_opaque);

    const guint nEvents = gst_harness_upstream_events_in_queue(m_upHarness.get());
    Click(2.5, 2.5, GST_NAVIGATION_MODIFIER_NONE);
    EXPECT_EQ(Alphas(vecScene), m_keyed);
    Click(-0.5, 2.5, GST_NAVIGATION_MODIFIER_NONE);
    EXPECT_EQ(gst_harness_upstream_events_in_queue(m_upHarness.get()), nEvents)
        << "a click that is taken goes no further";
    Click(2.5, 2.5, GST_NAVIGATION_MODIFIER_SHIFT_MASK);
    EXPECT_EQ(Alphas(vecScene), m_opaque) << "protected";
}

TEST_F(GstElementTest, BackdropIsFoundOnceItIsThere)
{
    Make("zchromakey", c_pszCaps);
    GstBus* const pBus = gst_bus_new();
    gst_element_set_bus(m_pElement, pBus);
    const BYTES vecBlack(Scene(c_nWidth, c_nHeight).size(), 0);
    for (int n = 0; n < 3; ++n)
        EXPECT_EQ(Alphas(vecBlack), m_opaque);
    EXPECT_EQ(Alphas(Scene(c_nWidth, c_nHeight)), m_keyed);
    int nWarnings = 0;
    while (GstMessage* const pMessage = gst_bus_pop_filtered(pBus, GST_MESSAGE_WARNING))
        ++nWarnings, gst_message_unref(pMessage);
    EXPECT_EQ(nWarnings, 1) << "not for each picture";
    gst_element_set_bus(m_pElement, nullptr);
    gst_object_unref(pBus);
}

TEST_F(GstElementTest, SettingsComeBackInTheNextRun)
{
    Make("zchromakey auto=false color=0x46AA3C spill=25", c_pszCaps);
    const BYTES vecScene = Scene(c_nWidth, c_nHeight);
    EXPECT_EQ(Alphas(vecScene), m_keyed);
    gchar* pszDocument = nullptr;
    g_object_get(m_pElement, "document", &pszDocument, nullptr);
    Make("zchromakey auto=false", c_pszCaps);
    EXPECT_EQ(Alphas(vecScene), m_opaque);
    gdouble dblSpill = 0;
    g_object_set(m_pElement, "document", pszDocument, nullptr);
    g_object_get(m_pElement, "spill", &dblSpill, nullptr);
    g_free(pszDocument);
    EXPECT_EQ(dblSpill, 25);
    EXPECT_EQ(Alphas(vecScene), m_keyed);
}

TEST_F(GstElementTest, SizeAndFormatChangeInMidStream)
{
    Make("zchromakey", c_pszCaps);
    EXPECT_EQ(Alphas(Scene(c_nWidth, c_nHeight)), m_keyed);
    CapsSet("video/x-raw,format=BGRx,width=160,height=120,framerate=25/1");
    const BYTES vecLarger = Push(Scene(160, 120));
    ASSERT_EQ(vecLarger.size(), size_t{160} * 120 * 4);
    EXPECT_EQ(vecLarger[3], 0);
    EXPECT_EQ(vecLarger[(60 * 160 + 80) * 4 + 3], 255);
    // A green of odd size, whose last pixels have chroma of their own: planes of 36 x 33 and twice 20 x 17 bytes.
    CapsSet("video/x-raw,format=I420,width=35,height=33,framerate=25/1");
    BYTES vecOdd(size_t{36} * 34 + 2 * 20 * 17, 80);
    const BYTES vecKeyed = Push(vecOdd);
    ASSERT_EQ(vecKeyed.size(), size_t{35} * 33 * 4);
    EXPECT_EQ(vecKeyed.back(), 0);
}

// Frames of another shot are keyed as if the element had seen no other.
TEST_F(GstElementTest, SeeksAndDiscontinuitiesBeginAnotherShot)
{
    const BYTES vecBefore = Scene(c_nWidth, c_nHeight, false);
    const BYTES vecAfter = Scene(c_nWidth, c_nHeight);
    const char* const pszElement = "zchromakey color=0x46AA3C view=plate";
    Make(pszElement, c_pszCaps);
    const BYTES vecFresh = Push(vecAfter);

    Make(pszElement, c_pszCaps);
    for (int n = 0; n < 6; ++n)
        Push(vecBefore);
    EXPECT_FALSE(Push(vecAfter) == vecFresh) << "what is behind the box was seen";
    for (int n = 0; n < 6; ++n)
        Push(vecBefore);
    EXPECT_TRUE(Push(vecAfter, GST_BUFFER_FLAG_DISCONT) == vecFresh);
    for (int n = 0; n < 6; ++n)
        Push(vecBefore);
    gst_harness_push_event(m_upHarness.get(), gst_event_new_flush_start());
    gst_harness_push_event(m_upHarness.get(), gst_event_new_flush_stop(TRUE));
    GstSegment segment;
    gst_segment_init(&segment, GST_FORMAT_TIME);
    gst_harness_push_event(m_upHarness.get(), gst_event_new_segment(&segment));
    EXPECT_TRUE(Push(vecAfter) == vecFresh);
}

TEST_F(GstElementTest, ParametersFollowControlSources)
{
    Make("zchromakey", c_pszCaps);
    GstControlSource* const pSource = gst_trigger_control_source_new();
    gst_object_add_control_binding(GST_OBJECT(m_pElement),
                                   gst_direct_control_binding_new_absolute(GST_OBJECT(m_pElement), "choke", pSource));
    gst_timed_value_control_source_set(GST_TIMED_VALUE_CONTROL_SOURCE(pSource), 40 * GST_MSECOND, 5);
    const auto fnChoke = [&] {
        gdouble dblChoke = -1;
        g_object_get(m_pElement, "choke", &dblChoke, nullptr);
        return dblChoke;
    };
    Push(Scene(c_nWidth, c_nHeight));
    EXPECT_EQ(fnChoke(), 0);
    Push(Scene(c_nWidth, c_nHeight));
    EXPECT_EQ(fnChoke(), 5);
    gst_object_unref(pSource);
}

// Who takes any format gets 8 bits, and 16 who asks for them.
TEST_F(GstElementTest, ResultsOf16BitsAreForThoseWhoAsk)
{
    Make("zchromakey ! capsfilter caps=\"video/x-raw,format=BGRA64_LE;video/x-raw,format=BGRA\"", c_pszCaps);
    EXPECT_EQ(Push(Scene(c_nWidth, c_nHeight)).size(), size_t{c_nWidth} * c_nHeight * 4);
    Make("zchromakey ! capsfilter caps=video/x-raw,format=BGRA64_LE", c_pszCaps);
    const BYTES vecDeep = Push(Scene(c_nWidth, c_nHeight));
    ASSERT_EQ(vecDeep.size(), size_t{c_nWidth} * c_nHeight * 8);
    EXPECT_EQ(vecDeep[6] | vecDeep[7], 0);
    EXPECT_EQ(vecDeep[vecDeep.size() / 2 + c_nWidth / 2 * 8 + 7], 255);
}

// A program that ends while frames are on their way, and wants RGB as it has to be named.
TEST_F(GstElementTest, PipelineEndsInMidStream)
{
    GstElement* const pPipeline =
        gst_parse_launch("videotestsrc ! video/x-raw,format=I420,colorimetry=bt601,chroma-site=mpeg2 ! zchromakey ! "
                         "video/x-raw,colorimetry=sRGB ! fakesink",
                         nullptr);
    for (int n = 0; n < 2; ++n)
    {
        gst_element_set_state(pPipeline, GST_STATE_PLAYING);
        EXPECT_EQ(gst_element_get_state(pPipeline, nullptr, nullptr, 10 * GST_SECOND), GST_STATE_CHANGE_SUCCESS);
        gst_element_set_state(pPipeline, GST_STATE_NULL);
    }
    gst_object_unref(pPipeline);
}

} // namespace
