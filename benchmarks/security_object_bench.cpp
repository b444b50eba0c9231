/**
 * The document security object of sixteen hashes, read and written beside OpenSSL's templates for
 * the same records. Certificates and signer infos stay whole items on both sides.
 */
#include "asn1/security_object.h"

#include <benchmark/benchmark.h>
#include <openssl/asn1t.h>
#include <openssl/x509.h>

#include <atomic>

static std::atomic<size_t> heapCalls{0};

// The C library's own allocator behind a counter; operator new comes this way too.
extern "C" void* __libc_malloc(size_t bytes);
extern "C" void* __libc_realloc(void* block, size_t bytes);
extern "C" void* malloc(size_t bytes) {
    heapCalls.fetch_add(1, std::memory_order_relaxed);
    return __libc_malloc(bytes);
}
extern "C" void* realloc(void* block, size_t bytes) {
    heapCalls.fetch_add(1, std::memory_order_relaxed);
    return __libc_realloc(block, bytes);
}

struct PeerHash {
    ASN1_INTEGER* number;
    ASN1_OCTET_STRING* hash;
};

struct PeerVersionInfo {
    ASN1_UTF8STRING* lds;
    ASN1_UTF8STRING* unicode;
};

struct PeerHashes {
    ASN1_INTEGER* version;
    X509_ALGOR* algorithm;
    STACK_OF(PeerHash) * hashes;
    PeerVersionInfo* versionInfo;
};

struct PeerContentInfo {
    ASN1_OBJECT* type;
    ASN1_OCTET_STRING* content;
};

struct PeerContent {
    ASN1_INTEGER* version;
    STACK_OF(X509_ALGOR) * algorithms;
    PeerContentInfo* contentInfo;
    STACK_OF(ASN1_TYPE) * certificates;
    STACK_OF(ASN1_TYPE) * crls;
    STACK_OF(ASN1_TYPE) * signers;
};

struct PeerSignedData {
    ASN1_OBJECT* type;
    PeerContent* content;
};

// clang-format off
ASN1_SEQUENCE(PeerHash) = {
    ASN1_SIMPLE(PeerHash, number, ASN1_INTEGER),
    ASN1_SIMPLE(PeerHash, hash, ASN1_OCTET_STRING),
} static_ASN1_SEQUENCE_END(PeerHash)

ASN1_SEQUENCE(PeerVersionInfo) = {
    ASN1_SIMPLE(PeerVersionInfo, lds, ASN1_UTF8STRING),
    ASN1_SIMPLE(PeerVersionInfo, unicode, ASN1_UTF8STRING),
} static_ASN1_SEQUENCE_END(PeerVersionInfo)

ASN1_SEQUENCE(PeerHashes) = {
    ASN1_SIMPLE(PeerHashes, version, ASN1_INTEGER),
    ASN1_SIMPLE(PeerHashes, algorithm, X509_ALGOR),
    ASN1_SEQUENCE_OF(PeerHashes, hashes, PeerHash),
    ASN1_OPT(PeerHashes, versionInfo, PeerVersionInfo),
} static_ASN1_SEQUENCE_END(PeerHashes)

ASN1_SEQUENCE(PeerContentInfo) = {
    ASN1_SIMPLE(PeerContentInfo, type, ASN1_OBJECT),
    ASN1_EXP(PeerContentInfo, content, ASN1_OCTET_STRING, 0),
} static_ASN1_SEQUENCE_END(PeerContentInfo)

ASN1_SEQUENCE(PeerContent) = {
    ASN1_SIMPLE(PeerContent, version, ASN1_INTEGER),
    ASN1_SET_OF(PeerContent, algorithms, X509_ALGOR),
    ASN1_SIMPLE(PeerContent, contentInfo, PeerContentInfo),
    ASN1_IMP_SET_OF_OPT(PeerContent, certificates, ASN1_ANY, 0),
    ASN1_IMP_SET_OF_OPT(PeerContent, crls, ASN1_ANY, 1),
    ASN1_SET_OF(PeerContent, signers, ASN1_ANY),
} static_ASN1_SEQUENCE_END(PeerContent)

ASN1_SEQUENCE(PeerSignedData) = {
    ASN1_SIMPLE(PeerSignedData, type, ASN1_OBJECT),
    ASN1_EXP(PeerSignedData, content, PeerContent, 0),
} static_ASN1_SEQUENCE_END(PeerSignedData)
    // clang-format on

    namespace {
    template <class Type>
    CByteZone Encoded(const typename Type::Value& value) {
        CByteZone item;
        item.Resize(Type::GetEncodedLength(value));
        size_t position = 0;
        Type::Encode(value, item, position);
        return item;
    }

    std::unique_ptr<CObjectIdentifier> MakeIdentifier(std::initializer_list<uint32_t> arcs) {
        return std::make_unique<CObjectIdentifier>(arcs.begin(), arcs.size());
    }

    std::unique_ptr<CAlgorithmIdentifier> MakeAlgorithm() {
        auto algorithm = std::make_unique<CAlgorithmIdentifier>();
        algorithm->algorithm = MakeIdentifier({2, 16, 840, 1, 101, 3, 4, 2, 1});
        algorithm->parameters =
            std::make_unique<CByteZone>(size_t{2}, static_cast<unsigned char>(0));
        (*algorithm->parameters)[0] = 5;
        return algorithm;
    }

    std::unique_ptr<CTList<CByteZone>> MakeItems(size_t size) {
        const CByteZone octets(size, 0x5A);
        size_t position = 0;
        CByteZone item(CTlvHeader::GetEncodedLength(kSequenceTag, size), 0x5A);
        CTlvHeader::Encode(kSequenceTag, size, item, position);
        auto items = std::make_unique<CTList<CByteZone>>();
        items->Append(std::make_unique<CByteZone>(std::move(item)));
        return items;
    }

    CLDSSecurityObject MakeHashes() {
        CLDSSecurityObject hashes;
        hashes.version = std::make_unique<int32_t>(0);
        hashes.hashAlgorithm = MakeAlgorithm();
        hashes.dataGroupHashValues = std::make_unique<CTList<CDataGroupHash>>();
        for (int number = 1; number <= 16; ++number) {
            hashes.dataGroupHashValues->Append(std::make_unique<CDataGroupHash>(CDataGroupHash{
                std::make_unique<int32_t>(number), std::make_unique<CByteZone>(size_t{32}, 0xA5)}));
        }
        return hashes;
    }

    CByteZone MakeSignedData() {
        CSignedData object;
        object.algorithm = MakeIdentifier({1, 2, 840, 113549, 1, 7, 2});
        object.signedData = std::make_unique<CSignedDataContent>();
        CSignedDataContent& content = *object.signedData;
        content.version = std::make_unique<int32_t>(3);
        content.digestAlgorithms = std::make_unique<CTList<CAlgorithmIdentifier>>();
        content.digestAlgorithms->Append(MakeAlgorithm());
        content.encapContentInfo = std::make_unique<CEncapsulatedContentInfo>();
        content.encapContentInfo->eContentType = MakeIdentifier({2, 23, 136, 1, 1, 1});
        content.encapContentInfo->eContent =
            std::make_unique<CByteZone>(Encoded<CLDSSecurityObjectType>(MakeHashes()));
        content.certificates = MakeItems(900);
        content.signerInfos = MakeItems(400);
        return Encoded<CSignedDataType>(object);
    }

    /** Runs `work` and shows how often one run asks the heap for memory. */
    template <class Work>
    void Measure(benchmark::State & state, Work work) {
        const size_t before = heapCalls;
        for (auto _ : state) {
            work();
        }
        state.counters["heap"] = benchmark::Counter(static_cast<double>(heapCalls - before),
                                                    benchmark::Counter::kAvgIterations);
    }

    void Decode_Ours(benchmark::State & state) {
        const CByteZone file = MakeSignedData();
        Measure(state, [&file] {
            size_t position = 0;
            const auto object = CSignedDataType::Decode(file, position);
            const CByteZone& content = *object->signedData->encapContentInfo->eContent;
            benchmark::DoNotOptimize(CLDSSecurityObjectType::Decode(content, position = 0));
        });
    }

    template <class Value>
    Value* DecodePeer(const unsigned char* bytes, size_t size, const ASN1_ITEM* item) {
        return reinterpret_cast<Value*>(
            ASN1_item_d2i(nullptr, &bytes, static_cast<long>(size), item));
    }

    template <class Value>
    void FreePeer(Value * value, const ASN1_ITEM* item) {
        ASN1_item_free(reinterpret_cast<ASN1_VALUE*>(value), item);
    }

    void Decode_OpensslTemplates(benchmark::State & state) {
        const CByteZone file = MakeSignedData();
        Measure(state, [&file] {
            auto* const object = DecodePeer<PeerSignedData>(file.GetData(), file.GetSize(),
                                                            ASN1_ITEM_rptr(PeerSignedData));
            const ASN1_OCTET_STRING* const content = object->content->contentInfo->content;
            auto* const hashes = DecodePeer<PeerHashes>(
                content->data, static_cast<size_t>(content->length), ASN1_ITEM_rptr(PeerHashes));
            benchmark::DoNotOptimize(hashes->hashes);
            FreePeer(hashes, ASN1_ITEM_rptr(PeerHashes));
            FreePeer(object, ASN1_ITEM_rptr(PeerSignedData));
        });
    }

    void EncodeHashes_Ours(benchmark::State & state) {
        const CLDSSecurityObject hashes = MakeHashes();
        Measure(state,
                [&hashes] { benchmark::DoNotOptimize(Encoded<CLDSSecurityObjectType>(hashes)); });
    }

    void EncodeHashes_OpensslTemplates(benchmark::State & state) {
        const CByteZone item = Encoded<CLDSSecurityObjectType>(MakeHashes());
        auto* const hashes =
            DecodePeer<PeerHashes>(item.GetData(), item.GetSize(), ASN1_ITEM_rptr(PeerHashes));
        Measure(state, [hashes] {
            unsigned char* output = nullptr;
            ASN1_item_i2d(reinterpret_cast<const ASN1_VALUE*>(hashes), &output,
                          ASN1_ITEM_rptr(PeerHashes));
            benchmark::DoNotOptimize(output);
            OPENSSL_free(output);
        });
        FreePeer(hashes, ASN1_ITEM_rptr(PeerHashes));
    }

}  // namespace

BENCHMARK(Decode_Ours);
BENCHMARK(Decode_OpensslTemplates);
BENCHMARK(EncodeHashes_Ours);
BENCHMARK(EncodeHashes_OpensslTemplates);
