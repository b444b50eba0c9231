#include "support/language_runs.h"
#include "support/server_process.h"

TEST(Resources, ComeFromTheFirstArchiveThatHasThem) {
    SKIP_WITHOUT("zip perl");
    FOR_EACH_STANZA(row, ReadStanzas("util/resources.txt")) { CheckLanguageRun(row); }
}
