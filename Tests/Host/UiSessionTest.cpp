#include "Host/UiClient.h"
#include "Interfaces/ZOptionNames.h"
#include "zkhost/Commands/KeyJob.h"
#include "zkhost/Commands/UiRender.h"

#include <algorithm>
#include <fstream>

#if !defined(_WIN32)
#include <sys/stat.h>
#endif

// What pages see, and what they do to keys.

namespace
{

class CUiSessionTest : public CCommandTest
{
protected:
    UI_OPTIONS Options()
    {
        EXPECT_EQ(Run("sample -q -o " + File("clip.y4m") + " --size 160x96 --frames 6"), 0);
        UI_OPTIONS options;
        options.strInput = m_folder.Path("clip.y4m");
        options.fnRender = UiRender_Run;
        return options;
    }
    /// A frame of the clip, keyed by itself with the keys of the first one.
    PICTURE Keyed(int _nFrame) const
    {
        CZKeyer keyer(CZModule::Own(), CLSID_ZChromaKey2);
        keyer.OptionSet(c_szOptionARGB, "true");
        keyer.OptionSet(c_szOptionThread, "false");
        const auto upSource = Stream_Open(m_folder.Path("clip.y4m"), "");
        CZPtr<IZFFrame> cpFrame = upSource->Next();
        EXPECT_EQ(keyer.Key2()->FrameSet(cpFrame.Get()), S_OK);
        EXPECT_EQ(keyer.FindBackdrop(), S_OK);
        for (int i = 0; i < _nFrame; ++i)
            cpFrame = upSource->Next();
        KEYED keyed;
        KeyJob_Read(keyer.Push(cpFrame.Get()).Get(), keyed);
        return keyed.picture;
    }
    /// Waits for the end of a job.
    static UI_REPLY JobEnd(const CUiHost& _host)
    {
        UI_REPLY state = _host.Get("/api/state");
        while (state.Has("\"state\":\"running\""))
            state = _host.Get(ZFormat("/api/state?after=%d", state.NumberAfter("\"revision\":")));
        return state;
    }
};

/// Bytes R, G, B, 255 of a picture over a colour of three equal channels.
std::string Over(PICTURE _picture, uint8_t _nGrey)
{
    PICTURE behind = _picture;
    std::fill(behind.vecPixels.begin(), behind.vecPixels.end(), _nGrey);
    Picture_Over(_picture, behind);
    for (size_t i = 0; i < _picture.vecPixels.size(); i += 4)
        std::swap(_picture.vecPixels[i], _picture.vecPixels[i + 2]);
    return {_picture.vecPixels.begin(), _picture.vecPixels.end()};
}

/// The rest of a text in JSON after these characters, up to its closing quotes.
std::string TextAfter(const std::string& _strJson, const std::string& _strBegin)
{
    std::string strText;
    const size_t nBegin = _strJson.find(_strBegin);
    for (size_t i = nBegin + _strBegin.size(); nBegin != std::string::npos && _strJson[i] != '"'; ++i)
    {
        i += _strJson[i] == '\\';
        strText += _strJson[i];
    }
    return strText;
}

TEST_F(CUiSessionTest, FramesAreWhatKeyingGives)
{
    const CUiHost host(Options());
    for (const int nFrame : {3, 1, 5, 0}) // jumps, back as well
    {
        const UI_REPLY reply = host.Get(ZFormat("/api/frame?over=404040&n=%d", nFrame));
        EXPECT_EQ(reply.NumberAfter("X-Frame: "), nFrame);
        EXPECT_TRUE(reply.strBody == Over(Keyed(nFrame), 0x40)) << nFrame;
    }
    // A part, enlarged: single pixels are seen.
    const std::string strWhole = host.Get("/api/frame?over=404040").strBody;
    const std::string strPart = host.Get("/api/frame?over=404040&x=50&y=40&w=8&h=6&ow=24&oh=18").strBody;
    for (size_t y = 0; y < 18; ++y)
        for (size_t x = 0; x < 24; ++x)
            ASSERT_EQ(strPart.substr(4 * (24 * y + x), 4), strWhole.substr(4 * (160 * (40 + y / 3) + 50 + x / 3), 4));
    // Made smaller: the mean of what a pixel covers, also where that is no whole number of pixels.
    for (const int nHeight : {48, 36})
    {
        const int nWidth = nHeight * 160 / 96;
        const std::string strSmall = host.Get(ZFormat("/api/frame?over=404040&ow=%d&oh=%d", nWidth, nHeight)).strBody;
        ASSERT_EQ(strSmall.size(), static_cast<size_t>(4 * nWidth * nHeight));
        double arrMeans[2] = {};
        const size_t nSmall = strSmall.size() / 4, nWhole = strWhole.size() / 4;
        for (size_t i = 0; i < strSmall.size(); i += 4)
            arrMeans[0] += static_cast<uint8_t>(strSmall[i]) / static_cast<double>(nSmall);
        for (size_t i = 0; i < strWhole.size(); i += 4)
            arrMeans[1] += static_cast<uint8_t>(strWhole[i]) / static_cast<double>(nWhole);
        EXPECT_NEAR(arrMeans[0], arrMeans[1], 0.2) << nHeight;
    }
    const std::string strWipe = host.Get("/api/frame?over=404040&wipe=0.5").strBody;
    const std::string strSource = host.Get("/api/frame?view=source").strBody;
    EXPECT_EQ(strWipe.substr(0, 320), strSource.substr(0, 320));
    EXPECT_EQ(strWipe.substr(320, 320), strWhole.substr(320, 320));
    EXPECT_TRUE(host.Get("/api/frame?format=jpeg&ow=80&oh=48").strBody.starts_with("\xFF\xD8"));
    EXPECT_TRUE(host.Get("/api/probe?n=0&x=2&y=2").Has("\"alpha\":0,"));
}

TEST_F(CUiSessionTest, StepsKeepTheirNames)
{
    const CUiHost host(Options());
    EXPECT_TRUE(host.Get("/api/state").Has("\"steps\":{\"list\":[\"automatic key\"],\"at\":1}"));
    host.Post("/api/param?name=spill&value=70");
    UI_REPLY state = host.Post("/api/param?name=spill&value=60"); // a slider that is dragged
    EXPECT_TRUE(state.Has("\"list\":[\"automatic key\",\"spill 60\"],\"at\":2")) << state.strBody;
    EXPECT_TRUE(state.Has("--param spill=60"));
    state = host.Post("/api/param?name=spill&value=100"); // and back
    EXPECT_TRUE(state.Has("\"list\":[\"automatic key\"],\"at\":1")) << state.strBody;
    state = host.Post("/api/key?kind=point&use=key&n=2&x=4&y=5");
    EXPECT_TRUE(state.Has("\"list\":[\"automatic key\",\"key at 4, 5\"],\"at\":2")) << state.strBody;
    EXPECT_TRUE(state.Has("\"automatic\":false") && state.Has("--keys keys.xml"));
    EXPECT_EQ(host.Post("/api/key?kind=point&use=key&n=2&x=4&y=5").nStatus, 400); // it is there already
    state = host.Post("/api/region?kind=garbage&n=0&polygon=0,0+9,0+9,9");
    EXPECT_TRUE(state.Has("\"garbage\":\"0,0 9,0 9,9\"") && state.Has("\"draw garbage\"],\"at\":3")) << state.strBody;
    state = host.Post("/api/steps?by=-2");
    EXPECT_TRUE(state.Has("\"garbage\":\"\"") && state.Has("\"automatic\":true")) << state.strBody;
    EXPECT_TRUE(state.Has("\"list\":[\"automatic key\",\"key at 4, 5\",\"draw garbage\"],\"at\":1")) << state.strBody;
    EXPECT_TRUE(host.Post("/api/steps?to=3").Has("\"garbage\":\"0,0 9,0 9,9\""));
    host.Post("/api/steps?by=-1");
    state = host.Post("/api/preset?name=shadows+kept"); // in the place of the step that was taken back
    EXPECT_TRUE(state.Has("\"key at 4, 5\",\"preset shadows kept\"],\"at\":3")) << state.strBody;
    state = host.Post("/api/slot?name=B");
    EXPECT_TRUE(state.Has("\"slot\":\"B\"") && state.Has("[\"copy of A\"]")) << state.strBody;
    EXPECT_TRUE(state.Has("\"automatic\":false"));
    host.Post("/api/key?kind=reset");
    EXPECT_TRUE(host.Post("/api/slot?name=A").Has("\"preset shadows kept\"],\"at\":3"));
    state = host.Post("/api/keyer?generation=1");
    EXPECT_TRUE(state.Has("\"keyer\":1") && state.Has("[\"automatic key\"],\"at\":1")) << state.strBody;
    state = host.Post("/api/key?kind=point&use=protect&n=0&x=80&y=60"); // one step, whatever it takes
    EXPECT_TRUE(state.Has("[\"automatic key\",\"protect 80, 60\"],\"at\":2")) << state.strBody;
    EXPECT_TRUE(host.Post("/api/keyer?generation=2").Has("\"preset shadows kept\"],\"at\":3"));
}

TEST_F(CUiSessionTest, WhatIsWrittenIsWhatTheCommandWrites)
{
    const CUiHost host(Options());
    for (const char* pszKeyer : {"2", "1"})
    {
        EXPECT_EQ(host.Post(std::string("/api/keyer?generation=") + pszKeyer).nStatus, 200);
        host.Post(*pszKeyer == '2' ? "/api/param?name=spill&value=55.5" : "/api/param?name=smooth&value=12");
        host.Post("/api/region?kind=garbage&n=0&polygon=0,0+30,0+30,30");
        host.Post("/api/range?in=0&out=3");
        EXPECT_EQ(host.Post("/api/render?output=keyed%20it.y4m&overwrite=1").nStatus, 200);
        const UI_REPLY state = JobEnd(host);
        EXPECT_TRUE(state.Has("\"state\":\"done\"") && state.Has("\"frame\":4,\"frames\":4")) << state.strBody;
        const std::string strKeyed = m_folder.Read("keyed it.y4m");
        EXPECT_GT(strKeyed.size(), 4u * 160 * 96 * 4);
        std::string strCommand = TextAfter(state.strBody, "\"command\":\"zkhost ");
        const size_t nOutput = strCommand.find("keyed it.y4m"); // is to lie beside the clip
        ASSERT_NE(nOutput, std::string::npos) << strCommand;
        strCommand.insert(nOutput, m_folder.Path(""));
        EXPECT_EQ(Run(strCommand + " -q"), 0) << strCommand << m_strError;
        EXPECT_TRUE(strKeyed == m_folder.Read("keyed it.y4m")) << strCommand;
    }
    EXPECT_TRUE(host.Post("/api/render?output=keyed%20it.y4m").Has("is there already"));
    EXPECT_TRUE(host.Post("/api/render?output=clip.y4m&overwrite=1").nStatus == 200);
    EXPECT_TRUE(JobEnd(host).Has("what this command reads")); // the clip itself
    EXPECT_TRUE(host.Post("/api/render?output=a.doc").nStatus == 200);
    EXPECT_TRUE(JobEnd(host).Has("unknown kind of output"));
}

TEST_F(CUiSessionTest, CancelledJobsLeaveNothing)
{
    UI_OPTIONS options = Options();
    options.fnRender = [](const RENDER_PLAN& _plan, const std::function<void(int64_t)>& _fnStep) {
        UiRender_Run(_plan, [&](int64_t _nDone) {
            while (true)
            {
                _fnStep(_nDone);
                if (_nDone != 2) // goes on here for ever
                    return;
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
            }
        });
    };
    const size_t nFiles = m_folder.Files();
    {
        const CUiHost host(options);
        EXPECT_EQ(host.Post("/api/render?output=keyed.y4m").nStatus, 200);
        EXPECT_TRUE(host.Post("/api/render?output=other.y4m").Has("a job is running"));
        UI_REPLY state = host.Get("/api/state");
        while (!state.Has("\"frame\":2"))
            state = host.Get(ZFormat("/api/state?after=%d", state.NumberAfter("\"revision\":")));
        EXPECT_GT(m_folder.Files(), nFiles); // under a name of its own
        host.Post("/api/cancel");
        EXPECT_TRUE(JobEnd(host).Has("\"state\":\"cancelled\""));
        EXPECT_EQ(m_folder.Files(), nFiles);
        EXPECT_EQ(host.Post("/api/render?output=keyed.y4m").nStatus, 200); // the end of the server cancels this one
    }
    EXPECT_EQ(m_folder.Files(), nFiles);
}

#if !defined(_WIN32) // where pipes have names in folders
TEST_F(CUiSessionTest, APipeShowsItsNewestFrame)
{
    UI_OPTIONS options = Options();
    const std::string strClip = m_folder.Read("clip.y4m");
    options.strInput = m_folder.Path("pipe.y4m");
    ASSERT_EQ(mkfifo(options.strInput.c_str(), 0600), 0);
    std::ofstream pipe;
    std::thread opens([&] { // waits for the other end
        pipe.open(options.strInput, std::ios::binary);
        pipe << strClip.substr(0, strClip.find("FRAME")) << std::flush;
    });
    const CUiHost host(options);
    opens.join();
    EXPECT_TRUE(host.Get("/api/state").Has("\"frames\":null"));
    const size_t cbHeader = strClip.find("FRAME");
    const size_t cbFrame = (strClip.size() - cbHeader) / 6;
    for (int nFrame = 0; nFrame < 6; ++nFrame)
    {
        pipe << strClip.substr(cbHeader + static_cast<size_t>(nFrame) * cbFrame, cbFrame) << std::flush;
        EXPECT_EQ(host.Get(ZFormat("/api/frame?play=1&n=%d", nFrame)).NumberAfter("X-Frame: "), nFrame);
    }
    EXPECT_EQ(host.Get("/api/frame?n=2").NumberAfter("X-Frame: "), 2); // is still kept
    EXPECT_EQ(host.Get("/api/frame?n=live").NumberAfter("X-Frame: "), 5);
    pipe.close();
    EXPECT_EQ(host.Get("/api/frame?play=1&n=6").nStatus, 409);
    EXPECT_TRUE(host.Get("/api/state").Has("\"frames\":6"));
}
#endif

} // namespace
