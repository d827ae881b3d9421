// Stand-in written from archicad-api.md: GS::HashTable, as the element highlight takes it.
#pragma once

#include "Definitions.hpp"

namespace GS {

template <typename IndexType, typename ItemType>
class HashTable {
public:
    HashTable();
    HashTable(const HashTable& source);
    ~HashTable();
    HashTable& operator=(const HashTable& source);

    bool Add(const IndexType& index, const ItemType& item);
    USize GetSize() const;
};

} // namespace GS
