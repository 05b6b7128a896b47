#pragma once

#include "Base/ZPtr.h"
#include "Interfaces/IZFFrame.h"
#include "ZChromaKey/Licence/LicenceJudge.h"
#include "ZChromaKey/Licence/LicencePlaces.h"
#include "ZChromaKey/Licence/Notice.h"

#include <atomic>
#include <mutex>
#include <string>
#include <vector>

/// What one plug-in object of a build with an issuer's key knows of its licence, and what it draws without one.
///
/// The licence is looked for when the object is made, when an option asks for it, and again after the object was
/// closed; never with a frame. Until it is closed things only get better: a licence that ends, goes or is no longer
/// right while frames come does not change them. Any thread may call; frames come one at a time.
class CLicenceHold
{
public:
    /// _pszClass: the object's class as log lines name it, a literal. The feature is the name of the object. Looks for
    /// the licence, and says nothing yet: the host has had no time to set its log.
    CLicenceHold(const char* _pszClass, const char* _pszFeature, const char* _pszKey, const char* _pszProduct);

    /// The option "licence.check". "true": looks for the licence again, and says what it finds. Any other text is the
    /// path of a document that is judged and not installed; E_INVALIDARG: it does not count (the log says why).
    HRESULT Check(const std::string& _strValue);
    /// Says how it stands: with a log that was just set, or, where none is, with the first frame.
    void Say();
    /// The object was closed: what was found is looked for again before the next frame.
    void Close();
    /// "licensed to A. Holder until 2027-12-31", "evaluation copy: no licence is installed"
    std::string Text();

    // For the frame path, under its lock
    /// A frame comes. False: what is drawn has changed, and so an earlier result is not the answer to this frame.
    bool FrameBegin();
    /// Puts the notice onto the result of a frame, where there is no licence. Null: the frame passes; a copy of it
    /// becomes the result. A result whose pixels are the host's is replaced by a copy as well; what is let go of goes
    /// to the list, to be released where no lock is held. What cannot be drawn onto stays as it is.
    void FrameEnd(IZFFrame* _pFrame, IZFFrame** _ppFrameRes, std::vector<CZPtr<IZFFrame>>* _pvecGone);

private:
    void Look();
    LICENCE_ANSWER Find() const;
    LICENCE_ANSWER Judge(const LICENCE_FOUND& _found) const;

    const char* m_pszClass;
    LICENCE_ASK m_ask; ///< but for the day
    std::atomic<bool> m_bValid = false;
    std::atomic<bool> m_bClosed = true; ///< what is found counts, better or not
    std::atomic<bool> m_bSaid = false;
    std::mutex m_mtxAnswer; ///< guards the next one
    LICENCE_ANSWER m_answer;

    bool m_bValidLast = false; ///< with the frame before; this and the next under the lock of the frame path
    bool m_bRefusalSaid = false;
    CNotice m_notice;
};
