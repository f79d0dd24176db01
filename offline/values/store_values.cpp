#include "values/store_values.h"

#include <algorithm>
#include <limits>

#include "eval/parameters.h"

namespace {

std::int32_t Narrow(std::int64_t value) {
    return static_cast<std::int32_t>(std::clamp<std::int64_t>(value, std::numeric_limits<std::int32_t>::min(),
                                                              std::numeric_limits<std::int32_t>::max()));
}

}  // namespace

EvaluationStatistics StoreFileValues(const FileValues& values) {
    EvaluationStatistics statistics;
    for (std::size_t i = 0; i < values.size(); ++i) {
        const Parameter& parameter = Parameters()[i];
        const std::vector<std::int64_t>& list = values[i];
        switch (parameter.store) {
            case ParameterStore::TABLE:
                for (int place = 0; place < parameter.places; ++place) {
                    StoreValue(parameter, place, Narrow(list[static_cast<std::size_t>(place)]));
                }
                break;
            case ParameterStore::IMBALANCE:
                for (int place = 0; place < parameter.places; ++place) {
                    statistics.imbalance[static_cast<std::size_t>(EntryOfPlace(parameter, place))] =
                        Narrow(list[static_cast<std::size_t>(place)]);
                }
                break;
            case ParameterStore::ARMY:
                std::ranges::transform(list, statistics.army.begin(), Narrow);
                break;
            case ParameterStore::MOVE_COUNTS:
                statistics.move_counts = list;
                break;
            case ParameterStore::RESERVED:
                break;
        }
    }
    return statistics;
}
