#pragma once

#include "common/DataFolder.h"

#include <QSettings>

#include <memory>

namespace corvane {

// The program's settings: one INI file in the data folder, in place of the registry and
// profile-string files of the Windows program. Section and key names stay the same.
inline std::unique_ptr<QSettings> openSettings()
{
    return std::make_unique<QSettings>(DataFolder::settingsFile(), QSettings::IniFormat);
}

} // namespace corvane
