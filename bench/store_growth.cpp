#include "bench/documents.h"
#include "bench/store_case.h"
#include "bench/store_cases.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>

namespace {

using nlohmann::json;

constexpr std::array<std::size_t, 6> ELEMENT_COUNTS = {1000, 2000, 4000, 8000, 16000, 32000};
constexpr std::size_t MOST_ELEMENTS_QUICKLY = 8000;
constexpr std::array<std::size_t, 5> DEPTHS = {100, 300, 1000, 3000, 10000};
constexpr double GOAL = 1.05;
constexpr double READ_OBJECTS_GOAL = 1.2;

// A number of elements or levels.
struct Size {
    std::size_t count;
    std::string name;
    int rounds;
};
using Sizes = std::vector<Size>;
using PointOf = std::function<GrowthPoint(const Size&)>;
using DocumentOf = json (*)(std::size_t);

// Rounds that take about as long for every size.
Sizes elementSizes(const std::string& kind, bool quick) {
    Sizes sizes;
    for (const std::size_t count : ELEMENT_COUNTS) {
        if (!quick || count <= MOST_ELEMENTS_QUICKLY) {
            const auto rounds = std::clamp<std::size_t>(400000 / count, 20, 200);
            sizes.push_back({count, std::to_string(count) + " " + kind,
                             roundsOf(static_cast<int>(rounds), quick)});
        }
    }
    return sizes;
}

Sizes depthSizes(bool quick) {
    Sizes sizes;
    for (const std::size_t depth : DEPTHS) {
        const auto rounds = 10000 / depth + 10;
        sizes.push_back(
            {depth, std::to_string(depth) + " levels", roundsOf(static_cast<int>(rounds), quick)});
    }
    return sizes;
}

GrowthPoint readPoint(const StoreStage& stage, const Size& size, const StoredContent& content) {
    GrowthPoint point = growthPoint(stage, {size.name + ": read", 0, size.rounds, content, reading,
                                            readingIntoDocument(), false});
    point.size = [count = size.count] { return static_cast<double>(count); };
    return point;
}

// The stored form names a key after all keys above it, so the bytes of nested objects grow with the
// square of their depth; what is to stay the same is the cost of a byte.
GrowthPoint writtenPoint(const StoreStage& stage, const Size& size, DocumentOf documentOf) {
    const StoreCall write = writing(std::make_shared<json>(documentOf(size.count)));
    return growthPoint(stage,
                       {size.name + ": written new", 0, size.rounds, nothing(), write, {write}});
}

PointOf readArray(const StoreStage& stage, DocumentOf arrayOf) {
    return [&stage, arrayOf](const Size& size) {
        const auto array = std::make_shared<json>(arrayOf(size.count));
        return readPoint(stage, size, storedBy(stage, array));
    };
}

PointOf readChain(const StoreStage& stage) {
    return [&stage](const Size& size) {
        return readPoint(stage, size, [depth = size.count] {
            return Exchanges{makeExchange(shortKeyChain(MEASURED_URI, depth))};
        });
    };
}

PointOf written(const StoreStage& stage, DocumentOf documentOf) {
    return [&stage, documentOf](const Size& size) { return writtenPoint(stage, size, documentOf); };
}

GrowthGroup growthGroup(const std::string& name, double goal, const Sizes& sizes,
                        const PointOf& pointOf) {
    GrowthGroup group{name, goal, {}};
    std::transform(sizes.begin(), sizes.end(), std::back_inserter(group.points), pointOf);
    return group;
}

} // namespace

GrowthGroups storeGrowth(const StoreStage& stage, bool quick) {
    const Sizes scalars = elementSizes("scalars", quick);
    const Sizes objects = elementSizes("objects", quick);
    const Sizes levels = depthSizes(quick);
    return {
        growthGroup("read, over scalars", GOAL, scalars, readArray(stage, scalarArray)),
        growthGroup("written new, over scalars", GOAL, scalars, written(stage, scalarArray)),
        growthGroup("read, over objects", READ_OBJECTS_GOAL, objects,
                    readArray(stage, objectArray)),
        growthGroup("written new, over objects", GOAL, objects, written(stage, objectArray)),
        growthGroup("read, over nested objects", GOAL, levels, readChain(stage)),
        growthGroup("written new, over bytes of nested objects", GOAL, levels,
                    written(stage, nestedObjects)),
    };
}
