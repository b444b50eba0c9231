#include "icao/mrz.h"

#include "asn1/asn1_errors.h"
#include "icao/icao_exception.h"
#include "support/stanza_file.h"
#include "support/string_print.h"

TEST(MRZ, MatchesPublicVectors) {
    FOR_EACH_STANZA(row, ReadSharedStanzas("mrz.txt")) {
        CByteZone info("from before");
        try {
            icao::GetMRZInfoFromDG1(row.Bytes("dg1"), info);
        } catch (const EASN1&) {
        } catch (const icao::CICAOException&) {
        }
        EXPECT_EQ(info,
                  row.Has("info_text") ? CByteZone(row.Text("info_text").c_str()) : CByteZone());
        EXPECT_EQ(info.IsEmpty(), info.GetCapacity() == 0);
        row.Skip();
    }
}
