// Stand-in written from archicad-api.md: error codes (section 1.10).
#pragma once

#define APIErrorStart 0x81060000
#define APIERR_GENERAL (APIErrorStart + 1)
#define APIERR_BADID (APIErrorStart + 101)
#define APIERR_BADINDEX (APIErrorStart + 102)
#define APIERR_BADNAME (APIErrorStart + 103)
#define APIERR_BADPARS (APIErrorStart + 104)
#define APIERR_NOTINIT (APIErrorStart + 901)
#define APIERR_REFUSEDCMD (APIErrorStart + 904)
#define APIERR_REFUSEDPAR (APIErrorStart + 905)
