// The add-on's string-list and dialog resources, read from its resource file (.grc) the way
// the resource compiler sees it: ids may be macros from the add-on's resource-id header.
#pragma once

#include <map>
#include <string>
#include <vector>

namespace Velmora::Sim {

// One item of a 'GDLG' dialog: its 1-based id, its type ("Browser", ...) and its frame.
struct SimDialogItem {
    int id = 0;
    std::string type;
    int x = 0, y = 0, width = 0, height = 0;
};

// A 'GDLG' dialog: its type ("Palette", "Modal", ...), client size, title and items.
struct SimDialog {
    std::string type;
    int width = 0, height = 0;
    std::string title;
    std::vector<SimDialogItem> items;
};

class SimResources {
public:
    // Reads the #defines of idsHeader, then the 'STR#' blocks of grcFile. False with a
    // message in error() when a file cannot be read or a block is malformed.
    bool Load(std::string const& grcFile, std::string const& idsHeader);

    // The strings of one list, all lines (a menu's title line included).
    std::vector<std::string> const* StringList(int resId) const;
    SimDialog const* Dialog(int resId) const;
    std::string const& Error() const { return error_; }

private:
    bool ParseGrc(std::string const& text);
    bool ParseDialogs(std::string const& text);
    int ResolveId(std::string const& token) const;

    std::map<std::string, long long> defines_;
    std::map<int, std::vector<std::string>> lists_;
    std::map<int, SimDialog> dialogs_;
    std::string error_;
};

// A menu item's text without the host's control codes ("Extract^E3" -> "Extract").
std::string StripMenuControlCodes(std::string const& text);

} // namespace Velmora::Sim
