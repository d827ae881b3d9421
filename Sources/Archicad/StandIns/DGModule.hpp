// Stand-in written from archicad-api.md: the dialog toolkit's umbrella header (section 5). Like
// the DevKit's, it does not include the browser (DGBrowser.hpp).
#pragma once

#include "DGDialog.hpp"
#include "DGItem.hpp"
#include "DGPanel.hpp"
#include "DGUtility.hpp"
