#include "suite/catalogue/CsvReader.h"
#include "tests/fuzz/Entry.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    using namespace tavrel;
    int line = 0;
    for (const CsvRow& row : ReadCsv(test::AsText(bytes, size))) {
        test::Require(row.line > line);
        test::Require(!row.fields.empty() || !row.fault.empty());
        line = row.line;
    }
    return 0;
}
