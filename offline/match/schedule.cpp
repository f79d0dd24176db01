#include "match/schedule.h"

std::vector<Pairing> Pairings(std::size_t engines, Tournament tournament) {
    std::vector<Pairing> pairings;
    const std::size_t firsts = tournament == Tournament::GAUNTLET ? 1 : engines;
    for (std::size_t first = 0; first < firsts; ++first) {
        for (std::size_t second = first + 1; second < engines; ++second) {
            pairings.push_back({first, second});
        }
    }
    return pairings;
}
