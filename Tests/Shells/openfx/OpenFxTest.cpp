#include "Host/CommandRunner.h"
#include "Shells/openfx/MiniHost.h"

#include <cstring>
#include <thread>

// The OpenFX effect in a strict host of ours, held against what zkhost makes of the same frames.

namespace
{

class COpenFxTest : public CCommandTest
{
protected:
    void SetUp() override
    {
        setenv("ZCHROMAKEY_MODULE", ZCK_MODULE, 1);
    }
    void TearDown() override
    {
        EXPECT_EQ(CMiniHost::Faults(), std::vector<std::string>());
    }

    /// A clip and what zkhost makes of it: frames of R, G, B, A, bytes or words.
    struct CLIP
    {
        int nWidth, nHeight;
        std::vector<std::string> vecIn;
        std::vector<std::string> vecKeyed;
    };
    static std::vector<std::string> Frames(const std::string& _strRaw, size_t _nFrames)
    {
        std::vector<std::string> vecFrames;
        const size_t nBytes = _strRaw.size() / _nFrames;
        for (size_t n = 0; n < _nFrames; ++n)
            vecFrames.push_back(_strRaw.substr(n * nBytes, nBytes));
        return vecFrames;
    }
    static std::string Swapped(std::string _strRaw, size_t _nSample)
    {
        for (size_t n = 0; n < _strRaw.size(); n += 4 * _nSample)
            std::swap_ranges(&_strRaw[n], &_strRaw[n] + _nSample, &_strRaw[n + 2 * _nSample]);
        return _strRaw;
    }
    CLIP Clip(int _nWidth, int _nHeight, int _nBits, const std::string& _strOptions, const std::string& _strScene = "")
    {
        constexpr size_t c_nFrames = 3;
        const std::string strSize = std::to_string(_nWidth) + "x" + std::to_string(_nHeight);
        const std::string strFormat = _nBits == 8 ? "ARGB32" : "ARGB64";
        EXPECT_EQ(Run("sample -q --frames 3 --format " + strFormat + " --size " + strSize + " -o " + File("in.raw") +
                      " " + _strScene),
                  0)
            << m_strError;
        EXPECT_EQ(Run("key -q " + File("in.raw") + " --in " + strFormat + ":" + strSize + "@25 --bits " +
                      std::to_string(_nBits) + " -o " + File("out.raw") + " " + _strOptions),
                  0)
            << m_strError;
        const std::string strKeyed = m_folder.Read("out.raw"); // of 16 bits it is R, G, B, A already
        return {_nWidth, _nHeight, Frames(Swapped(m_folder.Read("in.raw"), _nBits == 8 ? 1 : 2), c_nFrames),
                Frames(_nBits == 8 ? Swapped(strKeyed, 1) : strKeyed, c_nFrames)};
    }
    /// True where the instance makes of each frame what zkhost did.
    static bool KeysSame(CMiniHost& _host, OFX_EFFECT_OF_HOST& _effect, const CLIP& _clip, const std::string& _strDepth,
                         bool _bTopFirst, double _dblTime = 0)
    {
        bool bSame = true;
        for (size_t n = 0; n < _clip.vecIn.size(); ++n)
        {
            MINI_PICTURE source(_strDepth, _clip.nWidth, _clip.nHeight, _bTopFirst, 5, -7);
            MINI_PICTURE result(_strDepth, _clip.nWidth, _clip.nHeight, !_bTopFirst, 5, -7);
            source.SetPixels(_clip.vecIn[n]);
            bSame &= _host.Render(_effect, _dblTime + static_cast<double>(n), &source, result) == c_nOfxOk;
            bSame &= result.Pixels() == _clip.vecKeyed[n];
        }
        return bSame;
    }
};

// Words of 16 bits as numbers from 0 to 1.
std::vector<float> Floats(const std::string& _strWords)
{
    std::vector<float> vecFloats(_strWords.size() / 2);
    for (size_t n = 0; n < vecFloats.size(); ++n)
    {
        uint16_t nWord = 0;
        std::memcpy(&nWord, &_strWords[2 * n], 2);
        vecFloats[n] = static_cast<float>(nWord) / 65535;
    }
    return vecFloats;
}

TEST_F(COpenFxTest, IsDescribedInBothContexts)
{
    for (const char* pszContext : {"Filter", "General"})
    {
        CMiniHost host(ZCK_OPENFX, pszContext);
        for (const char* pszName : {"keys", "auto", "color", "protect", "spill", "view"})
            ASSERT_TRUE(host.Described(pszName)) << pszName;
        const auto& mapChoke = host.Described("choke")->props.mapValues;
        EXPECT_EQ(std::get<double>(mapChoke.at("OfxParamPropMin")[0]), -10);
        EXPECT_EQ(host.Described("view")->props.mapValues.at("OfxParamPropChoiceOption").size(), 7u);
        EXPECT_EQ(host.DescribedProps().mapValues.at("OfxImageEffectPropSupportedPixelDepths").size(), 3u);
    }
}

TEST_F(COpenFxTest, KeysAsZkhostDoesInEveryLayoutAndSize)
{
    CMiniHost host(ZCK_OPENFX, "Filter");
    auto upEffect = host.Create();
    double dblTime = 0;
    for (const bool bTopFirst : {false, true}) // one instance, whose pictures change size; a jump in time begins anew
        for (const auto& [nWidth, nHeight] : {std::pair(160, 90), std::pair(161, 91)})
        {
            const CLIP clip =
                Clip(nWidth, nHeight, 8, dblTime == 0 ? "--save-keys " + File("k.xml") : "--keys " + File("k.xml"));
            EXPECT_TRUE(KeysSame(host, *upEffect, clip, "Byte", bTopFirst, dblTime)) << nWidth << bTopFirst;
            dblTime += 100;
        }
    const CLIP clip = Clip(160, 90, 16, "--keys " + File("k.xml"));
    EXPECT_TRUE(KeysSame(host, *upEffect, clip, "Short", true, dblTime));
    host.Destroy(std::move(upEffect));
}

TEST_F(COpenFxTest, FloatKeepsWhatIsBrighterThanWhite)
{
    CMiniHost host(ZCK_OPENFX, "General");
    auto upEffect = host.Create();
    const CLIP clip = Clip(160, 90, 16, "");
    std::vector<float> vecIn = Floats(clip.vecIn[0]), vecRight = Floats(clip.vecKeyed[0]);
    for (size_t n = 0; n < vecIn.size(); ++n)
        if (n % 4 != 3 && vecIn[n] == 1)
        {
            vecRight[n] = vecRight[n] == 1 ? 3.5f : vecRight[n];
            vecIn[n] = 3.5f;
        }
    MINI_PICTURE source("Float", 160, 90), result("Float", 160, 90);
    source.SetPixels({reinterpret_cast<const char*>(vecIn.data()), vecIn.size() * sizeof(float)});
    ASSERT_EQ(host.Render(*upEffect, 0, &source, result), c_nOfxOk);
    std::vector<float> vecOut(vecIn.size());
    std::memcpy(vecOut.data(), result.Pixels().data(), vecOut.size() * sizeof(float));
    EXPECT_GT(std::ranges::count(vecOut, 3.5f), 0);
    EXPECT_TRUE(vecOut == vecRight);
    host.Destroy(std::move(upEffect));
}

TEST_F(COpenFxTest, AlphaIsTakenOutOfColoursThatWereMultipliedByIt)
{
    CMiniHost host(ZCK_OPENFX, "Filter");
    auto upEffect = host.Create();
    CMiniHost::Set(*upEffect, "auto", {0}); // nothing is keyed
    MINI_PICTURE source("Byte", 2, 1), result("Byte", 2, 1);
    source.bPremultiplied = true;
    source.SetPixels({"\x40\x20\x00\x80\x00\x00\x00\x00", 8});
    ASSERT_EQ(host.Render(*upEffect, 0, &source, result), c_nOfxOk);
    EXPECT_EQ(result.Pixels(), std::string("\x80\x40\x00\x80\x00\x00\x00\x00", 8));
    host.Destroy(std::move(upEffect));
}

TEST_F(COpenFxTest, SettingsLiveInTheParameters)
{
    CMiniHost host(ZCK_OPENFX, "Filter");
    CLIP clip = Clip(160, 90, 8, "--auto --save-keys " + File("k.xml"));
    clip = Clip(160, 90, 8, "--keys " + File("k.xml") + " --param choke=2 --view matte");
    for (const std::string& strKeys : {m_folder.Read("k.xml"), m_folder.Path("k.xml")}) // the document, or its file
    {
        auto upEffect = host.Create();
        CMiniHost::Set(*upEffect, "keys", {strKeys});
        CMiniHost::Set(*upEffect, "choke", {2.});
        CMiniHost::Set(*upEffect, "view", {1});
        EXPECT_TRUE(KeysSame(host, *upEffect, clip, "Byte", false));
        CMiniHost::Set(*upEffect, "choke", {4.}); // of full size; the picture is half of that
        MINI_PICTURE source("Byte", 160, 90), result("Byte", 160, 90);
        source.SetPixels(clip.vecIn[0]);
        EXPECT_EQ(host.Render(*upEffect, 50, &source, result, 0.5), c_nOfxOk);
        EXPECT_TRUE(result.Pixels() == clip.vecKeyed[0]);
        host.Destroy(std::move(upEffect));
    }
}

TEST_F(COpenFxTest, StillsDependOnNoOrder)
{
    CMiniHost host(ZCK_OPENFX, "Filter");
    const CLIP clip = Clip(160, 90, 8, "");
    auto upEffect = host.Create();
    CMiniHost::Set(*upEffect, "stills", {1});
    std::vector<std::string> vecForwards, vecBackwards;
    MINI_PICTURE source("Byte", 160, 90), result("Byte", 160, 90);
    for (const size_t n : {0, 1, 2, 2, 1, 0})
    {
        source.SetPixels(clip.vecIn[n]);
        EXPECT_EQ(host.Render(*upEffect, static_cast<double>(n), &source, result), c_nOfxOk);
        (vecForwards.size() < 3 ? vecForwards : vecBackwards).push_back(result.Pixels());
    }
    std::ranges::reverse(vecBackwards);
    EXPECT_TRUE(vecForwards == vecBackwards);
    EXPECT_TRUE(vecForwards[0] == clip.vecKeyed[0]);
    host.Destroy(std::move(upEffect));
}

TEST_F(COpenFxTest, InstancesOnTwoThreadsKnowNothingOfEachOther)
{
    CMiniHost host(ZCK_OPENFX, "Filter");
    const CLIP clipGreen = Clip(160, 90, 8, ""), clipBlue = Clip(120, 70, 16, "", "--screen blue");
    const auto Work = [&](const CLIP& _clip, const char* _pszDepth) {
        for (int n = 0; n < 3; ++n)
        {
            auto upEffect = host.Create();
            EXPECT_TRUE(KeysSame(host, *upEffect, _clip, _pszDepth, n % 2 != 0));
            host.Destroy(std::move(upEffect));
        }
    };
    std::thread thread([&] { Work(clipGreen, "Byte"); });
    Work(clipBlue, "Short");
    thread.join();
}

TEST_F(COpenFxTest, WhatIsMissingIsSaidOnceAndThePicturePasses)
{
    CMiniHost host(ZCK_OPENFX, "Filter");
    auto upEffect = host.Create();
    CMiniHost::Set(*upEffect, "keys", {std::string("/nowhere/keys.xml")});
    MINI_PICTURE source("Byte", 64, 36), result("Byte", 64, 36);
    source.bPremultiplied = true; // opaque all the same
    source.SetPixels(std::string(64 * 36 * 4, '\xff'));
    for (const double dblTime : {0, 1, 2})
        EXPECT_EQ(host.Render(*upEffect, dblTime, &source, result), c_nOfxOk);
    EXPECT_TRUE(result.Pixels() == source.Pixels());
    ASSERT_EQ(CMiniHost::Messages().size(), 1u);
    EXPECT_NE(CMiniHost::Messages()[0].find("OfxMessageLog: the key file \"/nowhere/keys.xml\""), std::string::npos);
    EXPECT_EQ(host.Render(*upEffect, 3, nullptr, result), c_nOfxFailed);
    host.Destroy(std::move(upEffect));
}

TEST_F(COpenFxTest, PicturesThatCannotBeAreRefused)
{
    constexpr std::array<int, 4> c_arrBounds[] = {
        {INT32_MIN, 0, INT32_MAX, 36}, {0, INT32_MIN, 64, INT32_MAX}, {64, 0, 0, 36}, {0, 0, 72, 36}};
    CMiniHost host(ZCK_OPENFX, "Filter");
    auto upEffect = host.Create();
    for (const std::array<int, 4>& arrBounds : c_arrBounds) // wider than anything, turned round, than its rows are
        for (const bool bSource : {false, true})
        {
            MINI_PICTURE source("Byte", 64, 36), result("Byte", 64, 36);
            (bSource ? source : result).arrBounds = arrBounds;
            EXPECT_EQ(host.Render(*upEffect, 0, &source, result), c_nOfxFailed) << arrBounds[0] << " " << bSource;
        }
    MINI_PICTURE source("Byte", 64, 36, false, INT32_MAX - 64, 0), result("Byte", 64, 36, false, INT32_MIN, 0);
    EXPECT_EQ(host.Render(*upEffect, 0, &source, result), c_nOfxOk) << "as far apart as pictures can be";
    EXPECT_EQ(result.Pixels(), std::string(64 * 36 * 4, '\0'));
    host.Destroy(std::move(upEffect));
}

TEST_F(COpenFxTest, HostsThatGoOnAfterTheEndGetNothing)
{
    CMiniHost host(ZCK_OPENFX, "Filter");
    auto upEffect = host.Create();
    EXPECT_EQ(host.Act("OfxActionDestroyInstance", upEffect.get()), c_nOfxOk);
    MINI_PICTURE source("Byte", 64, 36), result("Byte", 64, 36);
    EXPECT_EQ(host.Render(*upEffect, 0, &source, result), c_nOfxBadHandle);
    EXPECT_EQ(host.Act(nullptr, upEffect.get()), c_nOfxDefault);
    host.Destroy(std::move(upEffect));
}

/// Ends with 0 where an effect without a module is described and hands the picture through.
int PassesWithoutModule()
{
    setenv("ZCHROMAKEY_MODULE", "/nowhere/libZChromaKey.so", 1);
    CMiniHost host(ZCK_OPENFX, "Filter");
    auto upEffect = host.Create();
    MINI_PICTURE source("Float", 7, 5), result("Float", 7, 5);
    source.SetPixels(std::string(7 * 5 * 16, '\x3e'));
    bool bRendered = true;
    for (const double dblTime : {0, 1})
        bRendered = bRendered && host.Render(*upEffect, dblTime, &source, result) == c_nOfxOk;
    host.Destroy(std::move(upEffect));
    const bool bSaid = CMiniHost::Messages().size() == 1 && CMiniHost::Faults().empty();
    return bRendered && result.Pixels() == source.Pixels() && bSaid ? 0 : 2;
}

TEST_F(COpenFxTest, WithoutModuleThePicturePasses)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe"); // a program of its own, which has not found the module before
    EXPECT_EXIT(std::exit(PassesWithoutModule()), testing::ExitedWithCode(0), "");
}

} // namespace
