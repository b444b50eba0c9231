#include "trace/name_table.h"
#include "util/ct_string.h"
#include <qorvs/ck_names.h>

#include <new>
#include <vector>

static constexpr CNameRow kStatusWordRows[] = {
    {0x6700, "Incorrect length or address range error"},
    {0x6981, "Cannot select indicated file, command not compatible with file organization"},
    {0x6982, "Access conditions not fulfilled"},
    {0x6985, "Conditions of use not satisfied"},
    {0x6A80, "The parameters in the data field are incorrect"},
    {0x6A81, "Card is blocked or command not supported"},
    {0x6A82, "File not found"},
    {0x6A88, "Referenced data not found"},
};

constexpr CNameTable kStatusWordTexts = MakeNameTable<kStatusWordRows>();

static constexpr unsigned kTriesCount = 16;

static std::vector<CISOString> MakeTriesTexts() {
    std::vector<CISOString> texts;
    for (unsigned tries = 0; tries < kTriesCount; ++tries) {
        texts.push_back(CISOString::FromUInt(tries) + " remaining tries");
    }
    return texts;
}

// Never destroyed: exit handlers of the host may still ask.
static const std::vector<CISOString>& TriesTexts() {
    using CTexts = std::vector<CISOString>;
    alignas(CTexts) static unsigned char storage[sizeof(CTexts)];
    static const CTexts* const texts = new (storage) CTexts(MakeTriesTexts());
    return *texts;
}

const char* GetSwString(unsigned short statusWord) noexcept {
    if ((statusWord & 0xFFF0) == 0x63C0) {
        try {
            return TriesTexts()[statusWord & 0x0F].GetText();
        } catch (const std::bad_alloc&) {
            return "";
        }
    }
    return kStatusWordTexts.Find(statusWord, "");
}
