#pragma once

#include "Quality/HardClip.h"

#include <string>

/// A sheet of crops: a row a scene, a column a keyer, each under its name.
class CQualitySheet
{
public:
    CQualitySheet(std::vector<std::string> _vecColumns, int _nRows);
    /// Fills the next row: the picture, the truth and what keyers made of it, over the scene's ground. What is shown is
    /// the part with most half-transparent pixels and most errors of the second keyer.
    void Row(const HARD_CLIP& _clip, const std::vector<PICTURE>& _vecKeyed);
    const PICTURE& Picture() const
    {
        return m_sheet;
    }

private:
    void Put(int _nColumn, const PICTURE& _picture, int _nLeft, int _nTop);

    std::vector<std::string> m_vecColumns;
    int m_nRow = 0;
    PICTURE m_sheet;
};
