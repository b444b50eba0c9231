#include "util/ct_string.h"

#include "util/ct_string_impl.h"
#include "util/ct_string_read.h"

template class CTString<CISOEncoding, false>;
template class CTString<CISOEncoding, true>;
template class CTString<CUTF8Encoding, false>;
template class CTString<CUTF8Encoding, true>;
template class CTString<CUTF16Encoding, false>;
template class CTString<CUTF16Encoding, true>;
template class CTString<CUTF32Encoding, false>;
template class CTString<CUTF32Encoding, true>;
