// Loads a dump once, sends a frame through it from each front port, and asks what one changed word would do.
//
// Usage: model_example <dump> <frame in hexadecimal digits>

#include "model.h"
#include "regdump_util.h"
#include "tsr_reg.h"

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

static const char *nameOf(const Verdict &verdict) {
    static const char *const names[] = {"drop", "trap", "forward", "forward and trap", "undecided"};
    return names[static_cast<size_t>(verdict.kind)];
}

int main(int argc, char **argv) {
    int fd = -1;
    asic_dump_hdr_t *hdr = nullptr;
    if (argc != 3 || regdec_get_hdr(argv[1], &fd, &hdr) != 0 || regdec_get_data(fd, &hdr, TSR_DUMP_SIZE) != 0)
        return 2;
    std::vector<uint8_t> frame;
    const std::string digits = argv[2];
    for (size_t i = 0; i + 1 < digits.size(); i += 2)
        frame.push_back(static_cast<uint8_t>(std::stoul(digits.substr(i, 2), nullptr, 16)));

    Model model(reinterpret_cast<const tsr_dmp_t *>(hdr + 1)); // load: the image must outlive the model
    for (uint32_t port = 0; port < TSR_PORTS; port++) {
        const Verdict verdict = model.route(port, frame); // what the frame counts and learns is undone
        std::printf("port %u: %s, group 0x%x, %zu bytes\n", port, nameOf(verdict), verdict.group, verdict.frame.size());
    }

    const auto offset = static_cast<uint32_t>(offsetof(tsr_dmp_t, rte_l2_typ_len));
    model.change({offset, ~model.word(offset)});
    std::printf("changed: %s\n", nameOf(model.route(0, frame)));
    model.revert();
    std::printf("again: %s\n", nameOf(model.route(0, frame)));
    std::free(hdr);
    return 0;
}
