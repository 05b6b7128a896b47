#include "Support/AllocCounter.h"
#include "ZChromaKey/Config/Params2.h"
#include "ZChromaKey/Engine2/UnmixScenes.h"

#include <gtest/gtest.h>

namespace
{
bool AllNumbers(const UNMIX_STATE& _state)
{
    const std::vector<float> vec = UnmixState_Floats(_state);
    return std::all_of(vec.begin(), vec.end(), [](float _flt) { return std::isfinite(_flt); });
}

SCENE BlueScene(int _nWidth, int _nHeight)
{
    return {_nWidth, _nHeight, [=](int _x, int _y) {
                return _x > _nWidth / 3 && _x < _nWidth * 2 / 3 && _y > _nHeight / 3 ? SCENE_PIXEL{60, 90, 180}
                                                                                     : SCENE_PIXEL{190, 70, 40};
            }};
}

// The mean |alpha of _vecA - alpha of _vecB|.
double AlphaDistance(const std::vector<uint8_t>& _vecA, const std::vector<uint8_t>& _vecB)
{
    double dbl = 0;
    for (size_t n = 3; n < _vecA.size(); n += 4)
        dbl += std::abs(_vecA[n] - _vecB[n]);
    return dbl * 4 / static_cast<double>(_vecA.size());
}
std::vector<uint8_t> KeyedAs(UNMIX_STATE& _state, SCENE& _scene, const UNMIX_SETUP& _setup, int _eInterlace)
{
    CSerialRunner runner;
    std::vector<uint8_t> vecOut(_scene.vecBGRA.size());
    EXPECT_GE(Unmix_Frame(_state, _setup, _scene.Input(eZFCC_ARGB32, _eInterlace),
                          {vecOut.data(), ptrdiff_t{4} * _scene.nWidth, false}, runner),
              0);
    return vecOut;
}
} // namespace

TEST(UnmixStream, RepeatedPictureGivesTheSameAndTeachesNothing)
{
    UNMIX_STATE state;
    SCENE first = BodyScene(160, 120, 8, 1), second = BodyScene(160, 120, 8, 2);
    Keyed(state, first);
    const std::vector<uint8_t> vec = Keyed(state, second);
    ASSERT_FALSE(state.arrFields[0].vecPast.empty()); // the filter over time is at work
    const UNMIX_STATE before = state;
    EXPECT_EQ(Keyed(state, second), vec);
    EXPECT_EQ(Keyed(state, second), vec);
    EXPECT_TRUE(UnmixState_Same(before, state));
    // Another setting shows at once, and teaches nothing either.
    UNMIX_SETUP setup;
    setup.params.eView = eUV_Matte;
    EXPECT_NE(Keyed(state, second, setup), vec);
    EXPECT_EQ(before.vecPlate, state.vecPlate);
    EXPECT_EQ(before.nFrames, state.nFrames);
}
TEST(UnmixStream, HoldKeepsPlateAndNoise)
{
    UNMIX_STATE state;
    SCENE first = BodyScene(160, 120, 2, 1), other = BodyScene(160, 120, 9, 5, .2f);
    UNMIX_SETUP hold;
    hold.params.eLearn = eUN_Hold;
    Keyed(state, first, hold); // something has to be learnt
    const UNMIX_STATE before = state;
    Keyed(state, other, hold);
    EXPECT_EQ(before.vecPlate, state.vecPlate);
    EXPECT_EQ(before.fltNoise, state.fltNoise);
    Keyed(state, first, {});
    EXPECT_NE(before.vecPlate, state.vecPlate);
}
TEST(UnmixStream, HeldFramesShowNothingOfTheOnesBefore)
{
    // Noise that the filter over time works on while the plate is learned; and a plate that is given.
    const SCENE empty(160, 120, [](int _x, int) {
        const float fltLight = 1 - .2f * static_cast<float>(_x) / 160;
        return SCENE_PIXEL{c_colGreen.b * fltLight, c_colGreen.g * fltLight, c_colGreen.r * fltLight};
    });
    SCENE frame = BodyScene(160, 120, 8, 77), quiet = BodyScene(160, 120, 0, 1, .2f), blue = BlueScene(160, 120);
    for (const bool bGiven : {false, true})
        for (const int eInterlace : {eZI_Progressive, eZI_TopFirst})
        {
            UNMIX_STATE learned;
            UNMIX_SETUP setup = GreenSetup();
            if (bGiven)
                setup.plate = {empty.vecBGRA.data(), 160, 120};
            for (uint32_t n = 0; n < 3 && !bGiven; ++n)
            {
                SCENE scene = BodyScene(160, 120, 8, n, .05f);
                KeyedAs(learned, scene, setup, eInterlace);
            }
            setup.params.eLearn = eUN_Hold;
            UNMIX_STATE straight = learned;
            const std::vector<uint8_t> vecStraight = KeyedAs(straight, frame, setup, eInterlace);
            for (const SCENE* const pBefore : {&quiet, &blue, &frame})
            {
                SCENE before = *pBefore;
                UNMIX_STATE state = learned;
                KeyedAs(state, before, setup, eInterlace);
                KeyedAs(state, quiet, setup, eInterlace);
                EXPECT_TRUE(KeyedAs(state, frame, setup, eInterlace) == vecStraight);
                EXPECT_TRUE(KeyedAs(state, frame, setup, eInterlace) == vecStraight) << "repeated";
                EXPECT_EQ(state.vecPlate, straight.vecPlate);
            }
        }
}
TEST(UnmixStream, AFrameAfterACutIsKeyedAsIfAlone)
{
    for (uint32_t nSeed = 1; nSeed <= 8; ++nSeed)
        for (const int eInterlace : {eZI_Progressive, eZI_BottomFirst})
        {
            const float fltNoise = nSeed % 2 ? 9.0f : 1.0f;
            SCENE blue = BlueScene(160, 120);
            for (size_t n = 0; n < blue.vecBGRA.size(); ++n)
                blue.vecBGRA[n] = static_cast<uint8_t>(
                    blue.vecBGRA[n] + std::lround(fltNoise / 2 * Grain(static_cast<int>(n), 0, nSeed)) * (n % 4 < 3));
            UNMIX_STATE state, alone;
            for (uint32_t n = 0; n < 3; ++n)
            {
                SCENE green = BodyScene(160, 120, fltNoise, n + 10 * nSeed, .03f * static_cast<float>(n));
                KeyedAs(state, green, {}, eInterlace);
            }
            EXPECT_TRUE(KeyedAs(state, blue, {}, eInterlace) == KeyedAs(alone, blue, {}, eInterlace)) << nSeed;
            EXPECT_EQ(state.nCuts, 1);
            state.nCuts = 0;
            EXPECT_TRUE(UnmixState_Same(state, alone)) << nSeed;
        }
}
TEST(UnmixStream, CutStartsAnew)
{
    UNMIX_STATE state, fresh;
    SCENE green = BodyScene(160, 120), blue = BlueScene(160, 120);
    Keyed(state, green);
    Keyed(state, green);
    EXPECT_EQ(Keyed(state, blue), Keyed(fresh, blue));
    EXPECT_EQ(Unmix_Stats(state).nCuts, 1);
    EXPECT_EQ(state.vecPlate, fresh.vecPlate);
    EXPECT_GT(state.arrKeys[0].key.arrBGR[0], 150);
}
TEST(UnmixStream, CutInLightIsFoundWithTheSameKey)
{
    UNMIX_STATE state;
    SCENE bright = BodyScene(160, 120);
    SCENE dim = bright;
    for (size_t n = 0; n < dim.vecBGRA.size(); ++n)
        dim.vecBGRA[n] = static_cast<uint8_t>(n % 4 < 3 ? dim.vecBGRA[n] * 3 / 5 : 255);
    Keyed(state, bright);
    const std::vector<uint8_t> vec = Keyed(state, dim);
    EXPECT_EQ(vec[3], 0);
    EXPECT_EQ(vec[(72 * 160 + 80) * 4 + 3], 255);
}
TEST(UnmixStream, PlateRemembersWhatABodyUncovered)
{
    // The body moves to the right; what is behind it at the end was seen in the beginning, in its true colour.
    UNMIX_STATE state;
    for (int n = 0; n < 6; ++n)
    {
        SCENE scene = BodyScene(320, 160, 0, 1, -.25f + .1f * static_cast<float>(n));
        Keyed(state, scene);
    }
    const VEC4 plate = state.Plate(30, 12); // x = 240, under the body
    EXPECT_NEAR(plate.g, c_colGreen.g * (1 - .2f * 244 / 320), 1.5f);
    EXPECT_GT(plate.w, 1);
}
TEST(UnmixStream, BehindABodyThatStaysThePlateDoesNotDrift)
{
    // The body goes right and jumps back, in steady light and noise.
    UNMIX_STATE state;
    std::vector<SCENE> vecScenes;
    for (int n = 0; n < 10; ++n)
        vecScenes.push_back(BodyScene(160, 96, 2, static_cast<uint32_t>(n), .01f * static_cast<float>(n)));
    const auto AfterRounds = [&](int _nRounds) {
        for (int n = 0; n < _nRounds; ++n)
            for (SCENE& scene : vecScenes)
                Keyed(state, scene);
        return state.Plate(state.nPlateWidth / 2, state.nPlateHeight * 6 / 10);
    };
    const VEC4 early = AfterRounds(1), late = AfterRounds(149);
    EXPECT_EQ(state.nCuts, 0);
    EXPECT_NEAR(late.b, early.b, 1);
    EXPECT_NEAR(late.g, early.g, 1);
    EXPECT_NEAR(late.r, early.r, 1);
}
TEST(UnmixStream, FilterOverTimeQuietsAlpha)
{
    // The same body with new noise in every frame: alpha's change from frame to frame falls.
    UNMIX_STATE stream;
    std::vector<uint8_t> vecLast, vecLastAlone;
    double dblStream = 0, dblAlone = 0;
    for (uint32_t n = 0; n < 14; ++n)
    {
        SCENE scene = BodyScene(192, 128, 10, 100 + n);
        UNMIX_STATE alone;
        const std::vector<uint8_t> vec = Keyed(stream, scene), vecAlone = Keyed(alone, scene);
        if (n > 3)
        {
            dblStream += AlphaDistance(vec, vecLast);
            dblAlone += AlphaDistance(vecAlone, vecLastAlone);
        }
        vecLast = vec;
        vecLastAlone = vecAlone;
    }
    EXPECT_LT(dblStream, .9 * dblAlone);
}
TEST(UnmixStream, FieldsAreKeyedEachForItself)
{
    // The body has moved between the fields: each has its own sharp edge.
    const int nWidth = 256, nHeight = 160;
    SCENE top = BodyScene(nWidth, nHeight, 0, 1, -.1f), bottom = BodyScene(nWidth, nHeight, 0, 1, .1f);
    SCENE woven = top;
    for (int y = 1; y < nHeight; y += 2)
        std::copy_n(&bottom.vecBGRA[static_cast<size_t>(y) * nWidth * 4], nWidth * 4,
                    &woven.vecBGRA[static_cast<size_t>(y) * nWidth * 4]);
    UNMIX_STATE stateTop, stateBottom, stateWoven;
    CSerialRunner runner;
    std::vector<uint8_t> vecWoven(woven.vecBGRA.size());
    ASSERT_EQ(S_OK, Unmix_Frame(stateWoven, {}, woven.Input(eZFCC_ARGB32, eZI_TopFirst),
                                {vecWoven.data(), ptrdiff_t{4} * nWidth, false}, runner));
    const std::vector<uint8_t> vecTop = Keyed(stateTop, top), vecBottom = Keyed(stateBottom, bottom);
    double dbl = 0;
    for (int y = 0; y < nHeight; ++y)
        for (int x = 0; x < nWidth; ++x)
        {
            const size_t n = (static_cast<size_t>(y) * nWidth + x) * 4 + 3;
            dbl += std::abs(vecWoven[n] - (y & 1 ? vecBottom : vecTop)[n]);
        }
    EXPECT_LT(dbl / (nWidth * nHeight), 1.5);
}
TEST(UnmixStream, NothingIsAllocatedAfterTheThirdFrame)
{
    UNMIX_STATE state;
    CSerialRunner runner;
    std::vector<SCENE> vecScenes;
    for (uint32_t n = 0; n < 6; ++n)
        vecScenes.push_back(BodyScene(160, 120, 8, n));
    std::vector<uint8_t> vecOut(vecScenes[0].vecBGRA.size());
    uint64_t nBefore = 0;
    for (size_t n = 0; n < vecScenes.size(); ++n)
    {
        const UNMIX_INPUT input = vecScenes[n].Input();
        if (n == 3)
            nBefore = AllocCount();
        Unmix_Frame(state, {}, input, {vecOut.data(), 160 * 4, false}, runner);
    }
    EXPECT_EQ(AllocCount() - nBefore, 0u);
}
TEST(UnmixStream, ViewsBackAndForthLeaveTheMatte)
{
    UNMIX_STATE state;
    SCENE first = BodyScene(160, 120, 8, 1), second = BodyScene(160, 120, 8, 2);
    Keyed(state, first);
    const std::vector<uint8_t> vec = Keyed(state, second);
    ASSERT_FALSE(state.arrFields[0].vecPast.empty()); // the filter over time is at work
    UNMIX_SETUP setup;
    setup.params.eView = eUV_Status;
    Keyed(state, second, setup);
    EXPECT_EQ(Keyed(state, second), vec);
}
TEST(UnmixStream, TuningAStillIsAsGoodAsStartingAnew)
{
    // What says which cells are backdrop acts on the picture that is shown, not on the next one only.
    SCENE scene = BodyScene(160, 120);
    std::vector<uint8_t> vecMask(160 * 120, 255);
    UNMIX_SETUP wide, region, cloth;
    wide.params.fltBackdrop = 20;
    region.backdrop = {vecMask.data(), 160};
    cloth.nProtected = 1;
    std::copy_n(std::begin({c_colGreen.b, c_colGreen.g, c_colGreen.r}), 3, cloth.arrProtected[0].arrBGR);
    UNMIX_STATE tuned;
    Keyed(tuned, scene);
    for (const UNMIX_SETUP& setup : {wide, region, cloth, UNMIX_SETUP()})
    {
        UNMIX_STATE fresh;
        EXPECT_EQ(Keyed(tuned, scene, setup), Keyed(fresh, scene, setup));
        EXPECT_EQ(tuned.vecPlate, fresh.vecPlate);
    }
}
TEST(UnmixStream, AFirstFrameWithoutBackdropSpoilsNothing)
{
    // Denim before blue needs the wedge, which is chosen where there is a backdrop to choose it by.
    SCENE denim(160, 120, [](int _x, int _y) {
        return _x > 40 && _x < 120 && _y > 30 ? SCENE_PIXEL{130, 105, 60} : SCENE_PIXEL{190, 70, 40};
    });
    SCENE black(160, 120, [](int, int) { return SCENE_PIXEL{0, 0, 0}; });
    UNMIX_SETUP setup;
    setup.nKeys = 1;
    setup.params.fltSolid = 0; // or the core would hide it
    std::copy_n(std::begin({190.0f, 70.0f, 40.0f}), 3, setup.arrKeys[0].arrBGR);
    UNMIX_STATE state, fresh;
    Keyed(state, black, setup);
    EXPECT_EQ(Keyed(state, denim, setup), Keyed(fresh, denim, setup));
    EXPECT_GT(fresh.arrKeys[0].fltWedge, 1);
    EXPECT_EQ(state.arrKeys[0].fltWedge, fresh.arrKeys[0].fltWedge);
    EXPECT_TRUE(state.bNoiseKnown);
}
TEST(UnmixStream, RestartForgetsTheNoise)
{
    UNMIX_STATE state, fresh;
    SCENE noisy = BodyScene(160, 120, 14),
          strip(160, 120, [](int _x, int) { return _x < 24 ? c_colGreen : c_colCoat; });
    Keyed(state, noisy, {});
    EXPECT_GT(state.fltNoise, 6);
    Unmix_Restart(state);
    EXPECT_EQ(Keyed(state, strip), Keyed(fresh, strip));
    EXPECT_EQ(state.fltNoise, fresh.fltNoise);
}
TEST(UnmixStream, SmallPicturesFollowTheLightToo)
{
    UNMIX_STATE state;
    const auto Scene = [](float _fltLight) {
        return SCENE(24, 24, [=](int _x, int) {
            return _x > 15 ? SCENE_PIXEL{90, 60, 150}
                           : SCENE_PIXEL{c_colGreen.b * _fltLight, c_colGreen.g * _fltLight, c_colGreen.r * _fltLight};
        });
    };
    SCENE bright = Scene(1), dim = Scene(.55f);
    Keyed(state, bright);
    EXPECT_EQ(Keyed(state, dim)[3], 0);
}
TEST(UnmixStream, DegeneratePicturesGiveSensibleResults)
{
    const std::function<SCENE_PIXEL(int, int)> arrPictures[] = {[](int, int) {
                                                                    return SCENE_PIXEL{40, 180, 50};
                                                                },
                                                                [](int, int) {
                                                                    return SCENE_PIXEL{128, 128, 128};
                                                                },
                                                                [](int, int) {
                                                                    return SCENE_PIXEL{0, 0, 0};
                                                                },
                                                                [](int, int) {
                                                                    return SCENE_PIXEL{255, 255, 255};
                                                                },
                                                                [](int _x, int _y) {
                                                                    return SCENE_PIXEL{128 + 127 * Grain(_x, _y, 1),
                                                                                       128 + 127 * Grain(_x, _y, 2),
                                                                                       128 + 127 * Grain(_x, _y, 3)};
                                                                }};
    constexpr int c_arrSizes[][2] = {{1, 1}, {1, 9}, {7, 1}, {3, 3}, {5, 4}, {2, 300}, {333, 2}, {67, 65}};
    UNMIX_SETUP setup;
    setup.nKeys = 1;
    std::copy_n(std::begin({40.0f, 180.0f, 50.0f}), 3, setup.arrKeys[0].arrBGR);
    for (const auto& picture : arrPictures)
        for (const auto& size : c_arrSizes)
            for (const int eInterlace : {eZI_Progressive, eZI_BottomFirst})
            {
                SCENE scene(size[0], size[1], picture);
                UNMIX_STATE state;
                CSerialRunner runner;
                std::vector<uint8_t> vecOut(scene.vecBGRA.size(), 77);
                for (int n = 0; n < 3; ++n)
                {
                    scene.vecBGRA[0] ^= 1;
                    EXPECT_EQ(S_OK, Unmix_Frame(state, setup, scene.Input(eZFCC_ARGB32, eInterlace),
                                                {vecOut.data(), ptrdiff_t{4} * size[0], false}, runner));
                    EXPECT_TRUE(AllNumbers(state)) << size[0] << 'x' << size[1];
                }
                const int nWant = &picture == arrPictures ? 0 : 255;
                for (size_t n = 3; n < vecOut.size() && &picture != arrPictures + 4; n += 4) // noise may be anything
                    ASSERT_EQ(vecOut[n], nWant) << size[0] << 'x' << size[1] << ' ' << &picture - arrPictures;
            }
}
TEST(UnmixStream, NumbersStayNumbers)
{
    // Pictures that have little to do with each other, with plates that are none, parameters at both ends, ranges of 0.
    const auto Noise = [](int _x, int _y) {
        return SCENE_PIXEL{128 + 127 * Grain(_x, _y, 1), 128 + 127 * Grain(_x, _y, 2), 128 + 127 * Grain(_x, _y, 3)};
    };
    const auto Black = [](int, int) { return SCENE_PIXEL{0, 0, 0}; };
    const SCENE noisePlate(50, 31, Noise), blackPlate(1, 1, Black);
    std::vector<UNMIX_SETUP> vecSetups = {{}, GreenSetup(), GreenSetup(), GreenSetup(), GreenSetup(), {}};
    vecSetups[2].plate = {noisePlate.vecBGRA.data(), 50, 31};
    vecSetups[3].plate = {blackPlate.vecBGRA.data(), 1, 1};
    UNMIX_KEY& narrow = vecSetups[4].arrKeys[0];
    narrow.fltHue = narrow.fltSaturation = narrow.fltValue = 0;
    vecSetups[5].nKeys = 1; // black, which has no hue
    for (const double KEY2_PARAM::*const pdblEnd : {&KEY2_PARAM::dblLeast, &KEY2_PARAM::dblMost})
    {
        KEY2_PARAMS params = {};
        for (const KEY2_PARAM& param : Params2_Table())
            params.*param.pdblField = param.*pdblEnd;
        vecSetups.push_back(GreenSetup());
        vecSetups.back().params = UnmixParams_Of(params);
        vecSetups.back().params.eView = eUV_Result;
    }
    for (const auto& [nWidth, nHeight] : {std::pair{1, 1}, {1, 40}, {40, 1}, {3, 5}, {70, 45}})
        for (const UNMIX_SETUP& setup : vecSetups)
        {
            SCOPED_TRACE(testing::Message() << nWidth << 'x' << nHeight << ", setup " << &setup - vecSetups.data());
            SCENE arrScenes[] = {BodyScene(nWidth, nHeight),
                                 {nWidth, nHeight, Black},
                                 BodyScene(nWidth, nHeight, 3),
                                 {nWidth, nHeight, Noise},
                                 {nWidth, nHeight, [](int, int) { return c_colGreen; }},
                                 BlueScene(nWidth, nHeight),
                                 {nWidth, nHeight,
                                  [](int, int) {
                                      return SCENE_PIXEL{255, 255, 255};
                                  }},
                                 BodyScene(nWidth, nHeight)};
            UNMIX_STATE state;
            for (SCENE& scene : arrScenes)
            {
                KeyedAs(state, scene, setup, eZI_Progressive);
                ASSERT_TRUE(AllNumbers(state)) << &scene - arrScenes;
            }
        }
}
