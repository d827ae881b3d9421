// Resource ids and the add-on's identity. Plain macros: this header is included both by
// C++ and by the resource files (.grc), which the resource compiler preprocesses.
#pragma once

#define VELMORA_ADDON_INFO_STRINGS 32000 /* 1: name, 2: description */
#define VELMORA_COMMAND_MENU 32500       /* panel, extract, send, view logs */
#define VELMORA_SETTINGS_MENU 32501      /* mask, debug capture, per-element colours */
#define VELMORA_PALETTE_DIALOG 32500
#define VELMORA_PALETTE_BROWSER_ITEM 1

// The 'MDID' registration resource (developer id, local id): the identity under which the
// host knows this add-on. The dispatcher addresses its own event-loop calls with it. These are
// placeholders: replace them with the developer id Graphisoft registers for the vendor and a
// local id generated for this add-on (see README); unregistered ids load only in the demo
// version. Plain decimal numbers, as the resource compiler reads them.
#define VELMORA_MDID_DEVELOPER 1447841089 /* 0x564C4D41, 'VLMA' */
#define VELMORA_MDID_LOCAL 1094926692     /* 0x41434164, 'ACAd' */
