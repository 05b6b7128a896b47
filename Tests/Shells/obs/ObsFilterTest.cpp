#include "Shell/ShellModule.h"
#include "Shells/obs/ObsHost.h"

#include <gtest/gtest.h>
#include <util/bmem.h>
#include <util/platform.h>

#include <algorithm>
#include <cstdlib>
#include <iterator>

namespace
{
// Everything that the tests make is gone when OBS's library has ended: what is left was leaked.
class CObsEnvironment final : public testing::Environment
{
public:
    void SetUp() override
    {
        ASSERT_TRUE(ObsHost_Start(ZCK_OBS_FILTER)) << "no display with OpenGL, or the filter does not load";
    }
    void TearDown() override
    {
        EXPECT_EQ(ObsHost_End(), 0) << "allocations are left";
    }
};
testing::Environment* const s_pEnvironment = testing::AddGlobalTestEnvironment(new CObsEnvironment);

obs_data_t* SettingsWith(const char* _pszName, const char* _pszValue)
{
    obs_data_t* const pSettings = obs_data_create();
    obs_data_set_string(pSettings, _pszName, _pszValue);
    return pSettings;
}

uint8_t AlphaAt(const OBS_PICTURE& _picture, uint32_t _nX, uint32_t _nY)
{
    return _picture.vecBGRA.at((size_t{_nY} * _picture.nWidth + _nX) * 4 + 3);
}

// What the module makes of the picture without OBS, colours multiplied by alpha as scenes have them.
OBS_PICTURE KeyedWithout(OBS_PICTURE _picture)
{
    std::string strWhy;
    const SHELL_API* const pApi = ShellModule_Get(strWhy);
    zck_frame frame = {};
    frame.size = sizeof(frame);
    frame.format = ZCK_FORMAT_ARGB32;
    frame.width = static_cast<int>(_picture.nWidth);
    frame.height = static_cast<int>(_picture.nHeight);
    frame.planes[0] = _picture.vecBGRA.data();
    frame.row_bytes[0] = 4 * frame.width;
    zck_keyer* pKeyer = nullptr;
    EXPECT_EQ(pApi->zck_open(ZCK_GENERATION_DEFAULT, &pKeyer), ZCK_OK);
    EXPECT_EQ(pApi->zck_key_auto(pKeyer, &frame), ZCK_OK);
    EXPECT_EQ(pApi->zck_process(pKeyer, &frame, &frame, nullptr), ZCK_OK);
    pApi->zck_close(pKeyer);
    for (size_t n = 0; n < _picture.vecBGRA.size(); ++n)
        if (n % 4 != 3)
            _picture.vecBGRA[n] = static_cast<uint8_t>((_picture.vecBGRA[n] * _picture.vecBGRA[n | 3] + 127) / 255);
    return _picture;
}

void ExpectAlike(const OBS_PICTURE& _got, const OBS_PICTURE& _want)
{
    ASSERT_EQ(_got.vecBGRA.size(), _want.vecBGRA.size());
    int nAlphas = 0, nColours = 0;
    for (size_t n = 0; n < _got.vecBGRA.size(); ++n)
    {
        const int nOff = std::abs(_got.vecBGRA[n] - _want.vecBGRA[n]);
        (n % 4 == 3 ? nAlphas += nOff != 0 : nColours += nOff > 1);
    }
    EXPECT_EQ(nAlphas, 0);
    EXPECT_EQ(nColours, 0) << "the GPU may round a product otherwise, by a level";
}

TEST(ObsFilter, KeysLikeTheModuleByItself)
{
    ObsHost_TakeLog();
    const OBS_PICTURE scene = ObsHost_Scene(321, 180);
    CObsKeyed keyed(scene), other(ObsHost_Scene(64, 64));
    ExpectAlike(keyed.Drawn(), KeyedWithout(scene));
    EXPECT_EQ(AlphaAt(other.Drawn(), 2, 2), 0) << "two filters at a time";
    keyed.Show(ObsHost_Scene(200, 120));
    ExpectAlike(keyed.Drawn(), KeyedWithout(ObsHost_Scene(200, 120)));
    EXPECT_EQ(ObsHost_TakeLog().find("rror"), std::string::npos);
}

TEST(ObsFilter, PicksAreKeptInTheSceneCollection)
{
    obs_data_t* const pSettings = SettingsWith("key_from", "picks");
    CObsKeyed keyed(ObsHost_Scene(160, 90), pSettings);
    obs_data_release(pSettings);
    EXPECT_EQ(AlphaAt(keyed.Drawn(), 2, 2), 255) << "no keys yet";
    keyed.Click("key");
    EXPECT_EQ(AlphaAt(keyed.Drawn(), 2, 2), 0);
    const std::string strDocument = keyed.Setting("document");
    keyed.Click("undo");
    EXPECT_EQ(AlphaAt(keyed.Drawn(), 2, 2), 255);

    obs_data_t* const pKept = SettingsWith("key_from", "picks");
    obs_data_set_string(pKept, "document", strDocument.c_str());
    obs_data_set_int(pKept, "param_view", 1); // the matte
    CObsKeyed again(ObsHost_Scene(160, 90), pKept);
    obs_data_release(pKept);
    const OBS_PICTURE matte = again.Drawn();
    EXPECT_EQ(matte.vecBGRA[0], 0);
    EXPECT_EQ(AlphaAt(matte, 2, 2), 255) << "a matte is opaque";
}

TEST(ObsFilter, TroubleIsSaidOnceAndPicturesPass)
{
    ObsHost_TakeLog();
    obs_data_t* const pSettings = SettingsWith("document", "<no document");
    obs_data_set_string(pSettings, "key_from", "picks");
    CObsKeyed keyed(ObsHost_Scene(64, 48), pSettings);
    obs_data_set_string(pSettings, "keys_file", "no-such-file.xml");
    obs_source_update(keyed.Filter(), pSettings);
    obs_data_release(pSettings);
    std::string strLog;
    for (int n = 0; n < 500 && strLog.find("no-such-file.xml cannot be read") == std::string::npos; ++n)
    {
        os_sleep_ms(10); // settings are handed over with one of the next frames
        strLog += ObsHost_TakeLog();
    }
    EXPECT_NE(strLog.find("no-such-file.xml cannot be read"), std::string::npos) << strLog;
    EXPECT_NE(strLog.find("keys from the scene collection"), std::string::npos) << strLog;
    EXPECT_EQ(AlphaAt(keyed.Drawn(9), 2, 2), 255);
    keyed.Show({2, 2, std::vector<uint8_t>(16, 255)});
    EXPECT_EQ(keyed.Drawn().vecBGRA, std::vector<uint8_t>(16, 255));
}

// Sizes and settings change again and again, as on a long day. ZCK_OBS_FRAMES: how many frames of it, in place of 300.
TEST(ObsFilter, GoesOnForAsLongAsItIsWanted)
{
    constexpr int c_nRound = 100;
    const char* const pszFrames = std::getenv("ZCK_OBS_FRAMES");
    const int nRounds = std::max((pszFrames ? std::atoi(pszFrames) : 300) / c_nRound, 1);
    const OBS_PICTURE arrScenes[] = {ObsHost_Scene(320, 180), ObsHost_Scene(161, 91), ObsHost_Scene(1280, 720)};
    ObsHost_TakeLog();
    CObsKeyed keyed(arrScenes[0]);
    long nWarm = 0;
    for (int nRound = 0; nRound < nRounds; ++nRound)
    {
        obs_data_t* const pSettings = obs_data_create();
        obs_data_set_double(pSettings, "param_choke", nRound % 3 * .5);
        obs_source_update(keyed.Filter(), pSettings);
        obs_data_release(pSettings);
        const OBS_PICTURE& scene = arrScenes[static_cast<size_t>(nRound) % std::size(arrScenes)];
        keyed.Show(scene);
        const OBS_PICTURE drawn = keyed.Drawn(c_nRound);
        ASSERT_EQ(AlphaAt(drawn, 2, 2), 0) << nRound;
        ASSERT_EQ(AlphaAt(drawn, drawn.nWidth / 2, drawn.nHeight * 6 / 10), 255) << nRound;
        nWarm = nRound == 2 ? bnum_allocs() : nWarm;
    }
    EXPECT_TRUE(nRounds <= 6 || bnum_allocs() <= nWarm + 8) << nWarm << " allocations became " << bnum_allocs();
    EXPECT_EQ(ObsHost_TakeLog().find("rror"), std::string::npos);
}

// Run by itself, with ZCHROMAKEY_MODULE naming no file.
TEST(ObsFilterAlone, WithoutTheModulePicturesPass)
{
    if (!std::getenv("ZCHROMAKEY_MODULE"))
        GTEST_SKIP() << "run by another entry of the list of tests";
    const OBS_PICTURE scene = ObsHost_Scene(64, 48);
    CObsKeyed keyed(scene);
    EXPECT_EQ(keyed.Drawn().vecBGRA, scene.vecBGRA);
    EXPECT_NE(ObsHost_TakeLog().find("module was not found"), std::string::npos);
}
} // namespace
