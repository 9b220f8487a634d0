// What every GUI test of the desk starts a case from: no stored settings, the fonts, the dark skin, and panels
// that appear and go without fading (a fade would make each wait a timing question).
#pragma once

#include "common/applicationglobals.h"
#include "common/settings.h"

#include <QSettings>

namespace guitest {

inline void ResetApplicationState()
{
    QSettings(settings::kOrganisation, settings::kApplication).clear();
    ApplicationGlobals::FillFonts();
    ApplicationGlobals::ApplySkin(ApplicationGlobals::Skin::Dark);
    ApplicationGlobals::fadeInOutTime = 0;
}

} // namespace guitest
