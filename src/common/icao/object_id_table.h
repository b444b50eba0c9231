/**
 * Tables of object identifiers, as the compiler lays them out: usable before static initialisation
 * and from any thread.
 */
#pragma once

#include "asn1/object_identifier.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

/** 0.4.0.127.0.7, the arc of the BSI, and what stands below it. */
template <uint32_t... tail>
inline constexpr uint32_t kBsiArcs[] = {0, 4, 0, 127, 0, 7, tail...};

/** Identifiers outside that tree. */
template <uint32_t... all>
inline constexpr uint32_t kArcs[] = {all...};

/** The arcs of a constant identifier, with storage elsewhere that lasts. */
struct CConstantArcs {
    template <size_t size>
    constexpr CConstantArcs(const uint32_t (&constant)[size]) : arcs(constant), count(size) {}

    bool Equals(const CObjectIdentifier& oid) const {
        return oid.GetSize() == count && std::equal(arcs, arcs + count, oid.begin());
    }

    CObjectIdentifier ToObjectIdentifier() const { return {arcs, count}; }

    const uint32_t* arcs;
    size_t count;
};

/** The first row whose `arcs` are those of an identifier, or null. */
template <class Row, size_t count>
const Row* FindByArcs(const Row (&rows)[count], const CObjectIdentifier& oid) {
    for (const Row& row : rows) {
        if (row.arcs.Equals(oid)) {
            return &row;
        }
    }
    return nullptr;
}
