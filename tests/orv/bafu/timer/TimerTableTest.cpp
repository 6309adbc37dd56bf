// timer::detail::TimerTable against std::map: ids that share home slots (same timer number
// modulo the table size), growth, and erases in the middle of probe runs.

#include "orv/bafu/timer/detail/TimerTable.h"

#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <random>
#include <vector>

#include "orv/bafu/timer/Element.h"
#include "orv/bafu/timer/Manager.h"

namespace orv::bafu::timer::detail {
namespace {

TEST(TimerTable, AgreesWithAnOrderedMapUnderRandomInsertsAndTakes) {
    Manager manager("TableTest");  // the elements' owner; never started
    std::mt19937 random(7);
    for (const unsigned long numbers : {8UL, 64UL, 5000UL}) {  // few numbers: many collisions
        TimerTable table;
        std::map<unsigned long, std::shared_ptr<Element>> model;
        for (int step = 0; step < 20000; ++step) {
            const unsigned long id =
                Manager::calcTimerId(static_cast<unsigned int>(random() % numbers),
                                     static_cast<unsigned int>(1 + random() % 3));
            if (random() % 2 == 0) {
                auto element = std::make_shared<Element>(
                    id, [](unsigned long) {}, manager);
                ASSERT_EQ(table.insert(id, element), model.emplace(id, element).second) << id;
            } else {
                const auto found = model.find(id);
                const std::shared_ptr<Element> expected =
                    found == model.end() ? nullptr : found->second;
                ASSERT_EQ(table.take(id), expected) << id;
                if (found != model.end()) {
                    model.erase(found);
                }
            }
        }
        std::vector<unsigned long> ids;
        for (const auto& entry : model) {
            ids.push_back(entry.first);
        }
        EXPECT_EQ(table.sortedIds(), ids);
        EXPECT_EQ(table.empty(), model.empty());
    }
}

}  // namespace
}  // namespace orv::bafu::timer::detail
