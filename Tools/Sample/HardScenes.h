#pragma once

#include "Sample/HardScene.h"

/// What is in front of the backdrop in each hard scene.

void HardScenes_Hair(CZSampleCanvas& _canvas, const HARD_MOMENT& _moment);
void HardScenes_FairHair(CZSampleCanvas& _canvas, const HARD_MOMENT& _moment);
void HardScenes_Curls(CZSampleCanvas& _canvas, const HARD_MOMENT& _moment);
void HardScenes_Veil(CZSampleCanvas& _canvas, const HARD_MOMENT& _moment);
void HardScenes_Table(CZSampleCanvas& _canvas, const HARD_MOMENT& _moment);
void HardScenes_Glasses(CZSampleCanvas& _canvas, const HARD_MOMENT& _moment);
void HardScenes_Waving(CZSampleCanvas& _canvas, const HARD_MOMENT& _moment);
void HardScenes_Denim(CZSampleCanvas& _canvas, const HARD_MOMENT& _moment);
void HardScenes_Check(CZSampleCanvas& _canvas, const HARD_MOMENT& _moment);
void HardScenes_BareArms(CZSampleCanvas& _canvas, const HARD_MOMENT& _moment);
void HardScenes_Knit(CZSampleCanvas& _canvas, const HARD_MOMENT& _moment);
void HardScenes_NearHand(CZSampleCanvas& _canvas, const HARD_MOMENT& _moment);
