#pragma once

#include <QString>

namespace velmora {

// The work root for the current user: $XDG_DATA_HOME/CORVANELSPAM/ (by default
// ~/.local/share/CORVANELSPAM/), with its trailing slash. The data folder is
// its subfolder "spamdata/".
QString userWorkRoot();

// The per-user settings file: $XDG_CONFIG_HOME/velmora.ini (by default
// ~/.config/velmora.ini).
QString userSettingsFile();

} // namespace velmora
