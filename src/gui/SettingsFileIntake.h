#pragma once

#include <QString>

class KestConfigManager;
class UserInterface;

// A settings file handed to the window (at launch, from a second launch, or by File > Open)
// must stand for one of the stored sites, or the crawl that follows would take whichever site
// is selected. One that matches none is offered as a new site. The answer is whether the file
// now matches a stored site; false when it can't be read or the person declined.
bool admitSettingsFile(KestConfigManager& config, UserInterface& ui, const QString& path, bool crawlFollows);
