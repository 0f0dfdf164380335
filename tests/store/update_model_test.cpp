// Random resources, written and updated at random, against the rules told a second time
// (tests/models/update_rules.h): every command in its order, every message, the whole database
// afterwards, and what reading makes of it.
//
// A case that fails prints its seed and its steps; the same seed gives the same case again.

#include "store/resource_store.h"
#include "tests/models/reading_model.h"
#include "tests/models/update_cases.h"
#include "tests/store/store_fixture.h"

#include <cstdint>
#include <random>

using nlohmann::json;

namespace {

constexpr std::uint32_t CASES_EACH = 20;
constexpr std::size_t BYTES_OF_A_CASE = 160;

std::vector<std::uint8_t> randomBytes(std::uint32_t seed) {
    std::mt19937 random(seed);
    std::vector<std::uint8_t> bytes(BYTES_OF_A_CASE);
    for (std::uint8_t& byte : bytes) {
        byte = static_cast<std::uint8_t>(random());
    }
    return bytes;
}

} // namespace

class UpdateModel : public StoreFixture, public testing::WithParamInterface<std::uint32_t> {
protected:
    UpdateModel() {
        // A hash whose fields are not long keeps their order; here long keys count as such.
        client.command("CONFIG", "SET", "hash-max-listpack-value", "4096");
    }

    void compareStep(const UpdateStep& step) {
        expected.forgetCommands();
        const RulesOutcome outcome = runOnModel(step, expected);
        std::string log;
        const std::string commands = commandsOf(
            [&] { log = errorsOf([&] { EXPECT_EQ(runOnStore(step, client), outcome.result); }); });
        EXPECT_EQ(commands, describeCommands(expected.commands()));
        EXPECT_EQ(log, outcome.log);
        EXPECT_EQ(client.dumpAll(), expected.dump());
    }

    void compareReading() {
        const auto model = readByModel(client, UPDATED_URI);
        ASSERT_TRUE(model);
        json document;
        int result = STORE_OK;
        (void)errorsOf([&] { result = getResource(context(), UPDATED_URI, document); });
        EXPECT_EQ(result == STORE_OK, model->readable);
        EXPECT_TRUE(!model->readable || document == model->document);
    }

    void compareCase(std::uint32_t seed) {
        const std::vector<std::uint8_t> bytes = randomBytes(seed);
        Input input(bytes.data(), bytes.size());
        expected = ExpectedDatabase();
        client.flushAll();
        std::string steps;
        while (!input.empty() && !HasFailure()) {
            const UpdateStep step = takeUpdateStep(input);
            steps += describeStep(step);
            SCOPED_TRACE("seed " + std::to_string(seed) + ":\n" + steps);
            compareStep(step);
            compareReading();
        }
    }

    ExpectedDatabase expected;
};

TEST_P(UpdateModel, EveryStepFollowsTheRulesToTheLetter) {
    for (std::uint32_t i = 0; i < CASES_EACH && !HasFailure(); ++i) {
        compareCase(GetParam() + i);
    }
}

INSTANTIATE_TEST_SUITE_P(FromSeed, UpdateModel, testing::Values(1U, 101U, 201U, 301U));
