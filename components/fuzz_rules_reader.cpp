// libFuzzer target for the rules reader: whatever the file holds, reading it and walking the
// table as the tree and the driver do answers, and every member the tree lists is a member
// line below its category.
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <string>

#include "components/rf_rules.h"

using namespace Refloom;

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, size_t size) {
    static std::string const path = "/tmp/rf-fuzz-rules-" + std::to_string(getpid()) + ".txt";
    FILE* file = std::fopen(path.c_str(), "wb");
    if (!file) return 0;
    std::fwrite(data, 1, size, file);
    std::fclose(file);

    rfRules rules(QString::fromStdString(path));
    for (int category : rfRules::unpack(rules.getRootItemChildren())) {
        if (rules.getItemFlag(category) != QLatin1String("0")) std::abort();
        for (int member : rfRules::unpack(rules.getItemChildren(category)))
            if (member <= category || rules.getItemFlag(member).isNull() || rules.getItemFlag(member) == QLatin1String("0"))
                std::abort();
    }
    for (int rule = 0; rule < rules.count(); ++rule) {
        rules.getItemMethod(rule);
        rules.getItemFiles(rule);
        rules.setInitialItemState(rule, -1);
    }
    return 0;
}
