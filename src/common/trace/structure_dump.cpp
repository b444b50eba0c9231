#include "trace/structure_dump.h"

#include "qorvs/ck_names.h"
#include "trace/attribute_value.h"
#include "trace/flag_text.h"

CStructureDump::CStructureDump(CLineWriter& lineWriter) noexcept
    : writer(lineWriter), prefix(GetTraceThread()) {}

void CStructureDump::Line(const char* label) noexcept {
    prefix.AppendTo(writer);
    writer.Append(label);
}

void CStructureDump::Number(const char* label, CK_ULONG number) noexcept {
    Line(label);
    writer.AppendDecimal(static_cast<int>(number));
    writer.Append('\n');
}

void CStructureDump::Text(const char* label, const CK_UTF8CHAR* text, int length) noexcept {
    Line(label);
    writer.AppendFormat("\"%.*s\"\n", length, reinterpret_cast<const char*>(text));
}

void CStructureDump::Version(const char* label, const CK_VERSION& version) noexcept {
    Line(label);
    writer.AppendFormat("%d.%d\n", version.major, version.minor);
}

void CStructureDump::Flags(const char* label, CK_FLAGS flags, const CNameTable& names) noexcept {
    Line(label);
    AppendFlags(writer, flags, names);
}

void CStructureDump::Template(const CK_ATTRIBUTE* attributes, CK_ULONG count,
                              bool hideValues) noexcept {
    for (CK_ULONG i = 0; i < count; ++i) {
        Attribute(attributes[i], hideValues);
    }
}

void CStructureDump::Attribute(const CK_ATTRIBUTE& attribute, bool hideValues) noexcept {
    Line("\t");
    AppendNameOrNumber(writer, attribute.type, kAttributeTypeNames);
    writer.Append("\tLen=");
    writer.AppendDecimal(static_cast<int>(attribute.ulValueLen));
    writer.Append('\t');
    if (attribute.pValue == nullptr) {
        writer.Append("(data NULL)");
    } else if (hideValues) {
        writer.Append("(data present)");
    } else {
        AppendAttributeValue(writer, attribute);
    }
    writer.Append('\n');
}

void CStructureDump::Mechanism(const CK_MECHANISM& mechanism) noexcept {
    Line("\t");
    writer.Append(GetCkMechanismTypeString(mechanism.mechanism));
    writer.Append('\n');
    if (mechanism.ulParameterLen != 0 && mechanism.ulParameterLen != CK_UNAVAILABLE_INFORMATION &&
        mechanism.pParameter != nullptr) {
        Line("\tParameter: ");
        writer.AppendHex(static_cast<const unsigned char*>(mechanism.pParameter),
                         mechanism.ulParameterLen);
        writer.Append('\n');
    }
}

void CStructureDump::MechanismInfo(const CK_MECHANISM_INFO& info) noexcept {
    Number("\tMin key size: ", info.ulMinKeySize);
    Number("\tMax key size: ", info.ulMaxKeySize);
    Flags("\tFlags:        ", info.flags, kMechanismInfoFlagNames);
}

void CStructureDump::TokenInfo(const CK_TOKEN_INFO& info) noexcept {
    Text("\tLabel:                ", info.label, sizeof(info.label));
    Text("\tManufacturer:         ", info.manufacturerID, sizeof(info.manufacturerID));
    Text("\tModel:                ", info.model, sizeof(info.model));
    Text("\tSerial number:        ", info.serialNumber, sizeof(info.serialNumber));
    Flags("\tFlags:                ", info.flags, kTokenInfoFlagNames);
    Number("\tMax PIN length:       ", info.ulMaxPinLen);
    Number("\tMin PIN length:       ", info.ulMinPinLen);
    Number("\tTotal public memory:  ", info.ulTotalPublicMemory);
    Number("\tFree public memory:   ", info.ulFreePublicMemory);
    Number("\tTotal private memory: ", info.ulTotalPrivateMemory);
    Number("\tFree private memory:  ", info.ulFreePrivateMemory);
    Version("\tHardware version:     ", info.hardwareVersion);
    Version("\tFirmware version:     ", info.firmwareVersion);
}

void CStructureDump::SessionInfo(const CK_SESSION_INFO& info) noexcept {
    Number("\tSlot ID:                ", info.slotID);
    Number("\tState:                  ", info.state);
    // Kept: ahead of the flags, though the record has them the other way round.
    Number("\tDevice Error:           ", info.ulDeviceError);
    Flags("\tFlags:                  ", info.flags, kSessionInfoFlagNames);
}
