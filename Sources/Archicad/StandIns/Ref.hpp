// Stand-in written from archicad-api.md: GS::Ref, the counted reference of the JavaScript bridge,
// and GS::DynamicCast.
#pragma once

#include <cstddef>

namespace GS {

template <typename Type>
class Ref {
public:
    Ref();
    Ref(std::nullptr_t);
    Ref(Type* pointer);
    Ref(const Ref& source);
    template <typename Derived>
    Ref(const Ref<Derived>& source);
    ~Ref();
    Ref& operator=(const Ref& source);

    Type* operator->() const;
    Type& operator*() const;
    bool operator==(std::nullptr_t) const;
    bool operator!=(std::nullptr_t) const;
};

template <typename To, typename From>
Ref<To> DynamicCast(const Ref<From>& source);

} // namespace GS
