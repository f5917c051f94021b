// What reading and writing the user record costs, against the bare parse and serialisation of the same text by the JSON
// library underneath. The figure to hold: decoding within 1.5 times of the bare parse.
#include <string_view>

#include <benchmark/benchmark.h>
#include <boost/json.hpp>

#include "LXServices/Services/UserModel.h"

namespace {

constexpr std::string_view record = R"({
  "id": "1193467820", "firstName": "Margarethe", "name": "Margarethe Olafsdottir-Whitcombe",
  "email": "margarethe.olafsdottir@institution.example", "anonymous": false, "isTest": false,
  "registrationDate": "2021-03-04T05:06:07.123",
  "institutionInfo": {
    "id": 774411, "name": "The Northern Institute of Applied Linguistics", "admin": true, "kivEnabled": true,
    "kivInfo": {"companyName": "Northern Institute", "styleGuideEnabled": true,
                "logoUrl": "https://static.institution.example/brand/logos/774411/large.png"},
    "organizationType": "EDU"},
  "managedModeInfo": {"compliant": true, "ssoId": "sso-774411-a", "ssoUrl": "https://auth.institution.example/sso/signin",
                      "institutionName": "The Northern Institute of Applied Linguistics"},
  "groups": ["mobile-ios", "claimed-invitation", "extension-chrome", "experiment-17", "desktopeditor"],
  "customFields": {"frontend_role": "editor", "locale": "en-GB"}})";

void decodeUserRecord(benchmark::State& state) {
  for (auto _ : state) benchmark::DoNotOptimize(lx::decodeJSON<lx::UserModel>(record));
}
BENCHMARK(decodeUserRecord);

void bareParse(benchmark::State& state) {
  for (auto _ : state)
    benchmark::DoNotOptimize(boost::json::parse(boost::json::string_view(record.data(), record.size())));
}
BENCHMARK(bareParse);

void encodeUserRecord(benchmark::State& state) {
  const auto user = lx::decodeJSON<lx::UserModel>(record);
  for (auto _ : state) benchmark::DoNotOptimize(lx::encodeJSON(*user));
}
BENCHMARK(encodeUserRecord);

void bareSerialization(benchmark::State& state) {
  const auto value = boost::json::parse(boost::json::string_view(record.data(), record.size()));
  for (auto _ : state) benchmark::DoNotOptimize(boost::json::serialize(value));
}
BENCHMARK(bareSerialization);

}  // namespace

BENCHMARK_MAIN();
