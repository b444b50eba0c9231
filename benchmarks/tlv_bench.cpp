/**
 * Walking TLV data beside OpenSSL's ASN1_get_object, and beside a floor that reads headers of one
 * tag octet without any check but that of the end.
 *
 * The file is a security object of 1.4 KB; its sixteen hashes are looked up and summed.
 */
#include "asn1/tlv.h"
#include "asn1/tlv_data.h"

#include <benchmark/benchmark.h>
#include <openssl/asn1.h>

#include <cstdlib>
#include <initializer_list>

namespace {

constexpr uint32_t kSequence = 0x30;
constexpr uint32_t kSet = 0x31;
constexpr uint32_t kContext0 = 0xA0;
constexpr uint32_t kOctets = 0x04;
constexpr size_t kHashes = 16;

CByteZone Make(uint32_t tag, std::initializer_list<CByteZone> parts) {
    CByteZone content;
    for (const CByteZone& part : parts) {
        content.Append(part);
    }
    return EncodeTLV(tag, content);
}

CByteZone Filled(uint32_t tag, size_t size, unsigned char value) {
    return EncodeTLV(tag, CByteZone(size, value));
}

CByteZone MakeFile() {
    CByteZone hashes;
    for (size_t i = 1; i <= kHashes; ++i) {
        const auto group = static_cast<unsigned char>(i);
        hashes.Append(Make(kSequence, {Filled(0x02, 1, group), Filled(kOctets, 64, group)}));
    }
    const CByteZone version = Filled(0x02, 1, 3);
    const CByteZone algorithm = Make(kSequence, {Filled(0x06, 9, 0x60), Filled(0x05, 0, 0)});
    const CByteZone object = Make(kSequence, {version, algorithm, EncodeTLV(kSequence, hashes)});
    const CByteZone content =
        Make(kSequence, {Filled(0x06, 6, 0x67), Make(kContext0, {EncodeTLV(kOctets, object)})});
    const CByteZone signedData =
        Make(kSequence, {version, Make(kSet, {algorithm}), content, Filled(kSet, 140, 0x55)});
    return Make(0x77, {Make(kSequence, {Filled(0x06, 9, 0x2A), Make(kContext0, {signedData})})});
}

// From the file to the object, whose second sequence is the list of hashes.
constexpr uint32_t kPath[] = {0x77,      kSequence, kContext0, kSequence,
                              kSequence, kContext0, kOctets,   kSequence};

uint64_t SumOurs(const CByteZone& file) {
    const CTlvData object = CTlvData(file)
                                .GetNext(0x77)
                                .GetNext(kSequence)
                                .GetNext(kContext0)
                                .GetNext(kSequence)
                                .GetNext(kSequence)
                                .GetNext(kContext0)
                                .GetNext(kOctets)
                                .GetNext(kSequence);
    size_t position = 0;
    object.GetNext(kSequence, position);
    const CTlvData list = object.GetNext(kSequence, position);
    uint64_t sum = 0;
    for (position = 0;;) {
        const CTlvData entry = list.GetNext(kSequence, position);
        if (!entry.IsPresent()) {
            return sum;
        }
        const CByteView hash = entry.GetNext(kOctets).GetData();
        sum += hash[0] + hash.GetSize();
    }
}

/** The next item with this identifier octet in a stretch that is moved behind it. */
using CFinder = bool (*)(CByteView& rest, uint32_t tag, CByteView& value);

bool FindOpenSsl(CByteView& rest, uint32_t tag, CByteView& value) {
    while (!rest.IsEmpty()) {
        const unsigned char* at = rest.GetData();
        long length = 0;
        int number = 0;
        int tagClass = 0;
        const int form =
            ASN1_get_object(&at, &length, &number, &tagClass, static_cast<long>(rest.GetSize()));
        if ((form & 0x80) != 0) {
            std::abort();
        }
        const unsigned char* const end = at + length;
        rest = CByteView(end, static_cast<size_t>(rest.end() - end));
        if (((form & V_ASN1_CONSTRUCTED) | tagClass | number) == static_cast<int>(tag)) {
            value = CByteView(at, static_cast<size_t>(length));
            return true;
        }
    }
    return false;
}

bool FindFloor(CByteView& rest, uint32_t tag, CByteView& value) {
    while (rest.GetSize() >= 2) {
        const unsigned char* at = rest.GetData();
        const uint32_t found = *at++;
        size_t length = *at++;
        if (length >= 0x80) {
            size_t octets = length & 0x7F;
            for (length = 0; octets > 0; --octets) {
                length = length << 8 | *at++;
            }
        }
        if (length > static_cast<size_t>(rest.end() - at)) {
            std::abort();
        }
        value = CByteView(at, length);
        rest = CByteView(at + length, static_cast<size_t>(rest.end() - at) - length);
        if (found == tag) {
            return true;
        }
    }
    return false;
}

template <CFinder Find>
uint64_t SumWith(const CByteZone& file) {
    CByteView level(file);
    CByteView value;
    for (const uint32_t tag : kPath) {
        Find(level, tag, value);
        level = value;
    }
    Find(level, kSequence, value);
    Find(level, kSequence, value);
    uint64_t sum = 0;
    CByteView list = value;
    for (CByteView entry; Find(list, kSequence, entry);) {
        Find(entry, kOctets, value);
        sum += value[0] + value.GetSize();
    }
    return sum;
}

void Walk(benchmark::State& state, uint64_t (*sumHashes)(const CByteZone&)) {
    CByteZone file = MakeFile();
    if (sumHashes(file) != kHashes * 64 + kHashes * (kHashes + 1) / 2) {
        state.SkipWithError("other hashes were found");
    }
    for (auto _ : state) {
        benchmark::DoNotOptimize(file);
        benchmark::DoNotOptimize(sumHashes(file));
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * file.GetSize()));
}
BENCHMARK_CAPTURE(Walk, Ours, SumOurs);
BENCHMARK_CAPTURE(Walk, OpenSsl, SumWith<FindOpenSsl>);
BENCHMARK_CAPTURE(Walk, Floor, SumWith<FindFloor>);

/** One level of very many items: the time an item takes must not depend on their number. */
void WalkFlat(benchmark::State& state) {
    CByteZone data;
    while (data.GetSize() < static_cast<size_t>(state.range(0)) << 20) {
        data.Append(Filled(kOctets, 14, 1));
    }
    for (auto _ : state) {
        benchmark::DoNotOptimize(CTlvData(data).GetNext(kSequence));
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * data.GetSize()));
}
BENCHMARK(WalkFlat)->Arg(1)->Arg(2)->Arg(4);

}  // namespace
