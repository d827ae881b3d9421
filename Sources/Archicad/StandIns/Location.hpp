// Stand-in written from archicad-api.md: IO::Location. Building one from a path and reading its
// path back are not described there; they are the InputOutput calls add-ons commonly use.
#pragma once

#include "Definitions.hpp"
#include "UniString.hpp"

namespace IO {

class Location {
public:
    Location();
    explicit Location(const GS::UniString& path);
    Location(const Location& source);
    ~Location();
    Location& operator=(const Location& source);

    GSErrCode ToPath(GS::UniString* path) const;
};

} // namespace IO
