#include "Sim/SimResources.hpp"

#include <cstdlib>
#include <fstream>
#include <regex>
#include <sstream>

namespace Velmora::Sim {

namespace {

bool ReadText(std::string const& path, std::string& text) {
    std::ifstream in(path, std::ios::binary);
    if (!in)
        return false;
    std::ostringstream content;
    content << in.rdbuf();
    text = content.str();
    return true;
}

// The quoted strings of one block body, with the resource compiler's escapes undone.
std::vector<std::string> QuotedStrings(std::string const& body) {
    std::vector<std::string> strings;
    static std::regex const quoted(R"re("((?:[^"\\]|\\.)*)")re");
    for (std::sregex_iterator it(body.begin(), body.end(), quoted), end; it != end; ++it) {
        std::string value;
        std::string const raw = (*it)[1].str();
        for (std::size_t i = 0; i < raw.size(); ++i) {
            if (raw[i] == '\\' && i + 1 < raw.size())
                ++i;
            value.push_back(raw[i]);
        }
        strings.push_back(value);
    }
    return strings;
}

// The items of a dialog body: "TYPE X Y WIDTH HEIGHT" lines, numbered in order.
std::vector<SimDialogItem> DialogItems(std::string const& body) {
    std::vector<SimDialogItem> items;
    static std::regex const item(R"((\w+)\s+(-?\d+)\s+(-?\d+)\s+(\d+)\s+(\d+))");
    for (std::sregex_iterator it(body.begin(), body.end(), item), end; it != end; ++it) {
        SimDialogItem parsed;
        parsed.id = static_cast<int>(items.size()) + 1;
        parsed.type = (*it)[1].str();
        parsed.x = std::atoi((*it)[2].str().c_str());
        parsed.y = std::atoi((*it)[3].str().c_str());
        parsed.width = std::atoi((*it)[4].str().c_str());
        parsed.height = std::atoi((*it)[5].str().c_str());
        items.push_back(parsed);
    }
    return items;
}

} // namespace

bool SimResources::Load(std::string const& grcFile, std::string const& idsHeader) {
    std::string header;
    std::string grc;
    if (!ReadText(idsHeader, header) || !ReadText(grcFile, grc)) {
        error_ = "cannot read " + (header.empty() ? idsHeader : grcFile);
        return false;
    }
    static std::regex const define(R"(#define\s+(\w+)\s+(0[xX][0-9a-fA-F]+|\d+))");
    for (std::sregex_iterator it(header.begin(), header.end(), define), end; it != end; ++it)
        defines_[(*it)[1].str()] = std::strtoll((*it)[2].str().c_str(), nullptr, 0);
    return ParseGrc(grc);
}

int SimResources::ResolveId(std::string const& token) const {
    auto found = defines_.find(token);
    if (found != defines_.end())
        return static_cast<int>(found->second);
    char* end = nullptr;
    long const value = std::strtol(token.c_str(), &end, 0);
    return (*end == '\0') ? static_cast<int>(value) : -1;
}

bool SimResources::ParseGrc(std::string const& text) {
    static std::regex const block(R"('STR#'\s+(\w+)\s+"[^"]*"\s*\{([^}]*)\})");
    for (std::sregex_iterator it(text.begin(), text.end(), block), end; it != end; ++it) {
        int const id = ResolveId((*it)[1].str());
        if (id < 0) {
            error_ = "unknown resource id " + (*it)[1].str();
            return false;
        }
        lists_[id] = QuotedStrings((*it)[2].str());
    }
    return ParseDialogs(text);
}

bool SimResources::ParseDialogs(std::string const& text) {
    // 'GDLG' ID Type | flags... X Y WIDTH HEIGHT "Title" { items }; comments in the body are
    // skipped by the item pattern, which needs five fields.
    static std::regex const block(
        R"re('GDLG'\s+(\w+)\s+(\w+)[^"{]*?(-?\d+)\s+(-?\d+)\s+(\d+)\s+(\d+)\s+"([^"]*)"\s*\{([^}]*)\})re");
    for (std::sregex_iterator it(text.begin(), text.end(), block), end; it != end; ++it) {
        int const id = ResolveId((*it)[1].str());
        if (id < 0) {
            error_ = "unknown dialog id " + (*it)[1].str();
            return false;
        }
        SimDialog dialog;
        dialog.type = (*it)[2].str();
        dialog.width = std::atoi((*it)[5].str().c_str());
        dialog.height = std::atoi((*it)[6].str().c_str());
        dialog.title = (*it)[7].str();
        dialog.items = DialogItems((*it)[8].str());
        dialogs_[id] = dialog;
    }
    return true;
}

SimDialog const* SimResources::Dialog(int resId) const {
    auto found = dialogs_.find(resId);
    return found == dialogs_.end() ? nullptr : &found->second;
}

std::vector<std::string> const* SimResources::StringList(int resId) const {
    auto found = lists_.find(resId);
    return found == lists_.end() ? nullptr : &found->second;
}

std::string StripMenuControlCodes(std::string const& text) {
    return text.substr(0, text.find('^'));
}

} // namespace Velmora::Sim
