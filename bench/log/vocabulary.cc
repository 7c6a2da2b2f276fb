// The people, machines, shares and files of the office that the log corpus describes.
#include "vocabulary.h"

#include <stdio.h>

#include <cctype>
#include <iterator>
#include <set>
#include <stdexcept>

namespace sarvik::corpus {

namespace {

constexpr size_t kPeople = 300;

const char* const kFirstNames[] = {
    "anna",   "ben",    "carla",  "david", "elena", "felix", "greta",  "hannah", "ivan",  "julia",
    "karl",   "lena",   "max",    "nina",  "oskar", "paula", "rosa",   "sven",   "tina",  "uwe",
    "vera",   "walter", "yara",   "zoe",   "ahmed", "chen",  "emma",   "fatima", "georg", "heike",
    "ines",   "jonas",  "katrin", "lukas", "maria", "noah",  "olga",   "peter",  "ralf",  "sara",
    "tobias", "ute",    "viktor", "wei",   "xenia", "yusuf", "sophie", "tom",    "lisa",  "marco",
    "petra",  "jan",    "eva",    "kai",   "mia",   "leon",  "ole",    "jörg",   "björn", "zoë"};
const char* const kSurnames[] = {"bauer", "koch",  "wolf",  "meyer",  "schulz", "vogel",  "roth",
                                 "lang",  "berg",  "kraus", "fuchs",  "hahn",   "lorenz", "simon",
                                 "braun", "frank", "weber", "becker", "keller", "huber"};

struct ShareProfile {
  const char* name;
  double weight;  // of an ordinary person's visits
  bool restricted;
  size_t files;
  std::vector<const char*> top;  // first directories
};

const std::vector<ShareProfile>& share_profiles() {
  static const std::vector<ShareProfile> profiles = {
      {"docs", 25, false, 6000, {"contracts", "manuals", "minutes", "templates", "policies"}},
      {"projects",
       25,
       false,
       12000,
       {"alpha", "apollo", "website-relaunch", "erp-migration", "tender", "acme"}},
      {"public", 10, false, 3000, {"photos", "software", "shared", "canteen"}},
      {"finance", 6, true, 5000, {"invoices", "reports", "budget", "tax", "receipts"}},
      {"hr", 3, true, 2000, {"applications", "payroll", "staff", "training"}},
      {"scans", 5, false, 4000, {"2f", "3f", "fax"}},
      {"homes", 26, false, 3000, {"Documents", "Desktop", "Downloads", "Pictures"}},
  };
  return profiles;
}

const char* const kDirs[] = {"2024", "2025", "2026", "archive", "draft", "old",   "Q1",
                             "Q2",   "Q3",   "Q4",   "misc",    "final", "input", "export"};
const char* const kStems[] = {"report", "invoice",  "minutes", "offer",  "contract", "notes",
                              "budget", "plan",     "summary", "agenda", "slides",   "letter",
                              "photo",  "readme",   "todo",    "memo",   "data",     "IMG",
                              "scan",   "handbook", "list",    "draft",  "Angebot",  "Rechnung"};
// Now and then a name holds a comma or letters beyond ASCII.
constexpr double kUnusualName = 0.03;
const char* const kUnusualDirs[] = {"Übergabe", "réunions", "Kunden, alt", "2026-03, final"};
const char* const kUnusualStems[] = {"résumé",        "Übersicht",      "報告書",
                                     "договор",       "Straße",         "Müller, Hans",
                                     "offer, signed", "price list, v2", "Lebenslauf Jörg"};
const char* const kExtensions[] = {".pdf", ".docx", ".xlsx", ".txt", ".jpg", ".pptx",
                                   ".csv", ".zip",  ".eml",  ".png", ".odt", ".msg"};
const double kExtensionWeights[] = {20, 18, 16, 6, 10, 5, 4, 3, 3, 5, 3, 2};

template <class T, size_t N>
const T& any_of(Random& random, const T (&items)[N]) {
  return items[random.below(N)];
}

std::string make_login(Random& random) {
  std::string first = any_of(random, kFirstNames);
  std::string last = any_of(random, kSurnames);
  switch (random.below(3)) {
    case 0:
      return first;
    case 1:
      return first + "." + last.substr(0, 1);
    default:
      return first.substr(0, 1) + last;
  }
}

// Hosts of one subnet in turn, so no two machines share an address.
std::string next_address(const char* subnet, int* last_host) {
  ++*last_host;
  return std::string(subnet) + "." + std::to_string(*last_host / 250) + "." +
         std::to_string(1 + *last_host % 250);
}

Person make_person(Random& random, const std::string& login, int* desk, int* wifi) {
  Person person;
  // Some clients send the name as it was typed at the login prompt.
  person.login = login;
  if (random.chance(0.15)) person.login[0] = static_cast<char>(toupper(login[0]));
  std::string short_name = login.substr(0, login.find('.'));
  char netbios[16];
  snprintf(netbios, sizeof netbios, "PC%04d", *desk + 11);
  double kind = random.unit();
  person.host = kind < 0.55 ? netbios : kind < 0.85 ? "nb-" + short_name : short_name + "-mac";
  person.ipaddr = next_address("192.168", desk);
  if (random.chance(0.25)) {
    person.laptop_host = short_name + "-lt";
    person.laptop_ipaddr = next_address("10.20", wifi);
  }
  person.trusted = random.chance(0.1);
  std::vector<double> weights;
  for (const ShareProfile& profile : share_profiles()) {
    weights.push_back(profile.weight * (0.3 + 1.4 * random.unit()) *
                      (profile.restricted && !person.trusted ? 0.05 : 1));
  }
  person.shares = WeightedPick(weights);
  return person;
}

std::string make_path(Random& random, const ShareProfile& profile) {
  static const WeightedPick depth({60, 30, 8, 2});
  std::string path = profile.top[random.below(static_cast<uint32_t>(profile.top.size()))];
  for (size_t level = depth.pick(random); level > 0; --level) {
    path += "/";
    path += random.chance(kUnusualName) ? any_of(random, kUnusualDirs) : any_of(random, kDirs);
  }
  return path + "/" + file_name(random);
}

}  // namespace

std::string file_name(Random& random) {
  static const WeightedPick extension(
      std::vector<double>(std::begin(kExtensionWeights), std::end(kExtensionWeights)));
  std::string name =
      random.chance(kUnusualName) ? any_of(random, kUnusualStems) : any_of(random, kStems);
  double variant = random.unit();
  char text[32];
  if (variant < 0.3) {
    snprintf(text, sizeof text, "_%u", 1 + random.below(999));
    name += text;
  } else if (variant < 0.45) {
    snprintf(text, sizeof text, " 20%02u-%02u-%02u", 24 + random.below(3), 1 + random.below(12),
             1 + random.below(28));
    name += text;
  } else if (variant < 0.6) {
    snprintf(text, sizeof text, "_v%u", 1 + random.below(9));
    name += text;
  }
  return name + kExtensions[extension.pick(random)];
}

Vocabulary make_vocabulary(Random& random) {
  Vocabulary vocabulary;
  std::set<std::string> logins;
  int desk = 0;
  int wifi = 0;
  while (vocabulary.people.size() < kPeople) {
    std::string login = make_login(random);
    if (!logins.insert(login).second) continue;
    vocabulary.people.push_back(make_person(random, login, &desk, &wifi));
  }
  vocabulary.busy = WeightedPick(zipf_weights(kPeople, 1.0));
  vocabulary.backup = make_person(random, "backup", &desk, &wifi);
  vocabulary.backup.host = "bkp01";
  vocabulary.backup.trusted = true;
  vocabulary.scanner = make_person(random, "scanner", &desk, &wifi);
  vocabulary.scanner.host = "MFP-2F";
  vocabulary.scanner.trusted = true;
  for (const ShareProfile& profile : share_profiles()) {
    Share share{profile.name,
                profile.restricted,
                std::string(profile.name) == "homes",
                {},
                WeightedPick(zipf_weights(profile.files, 0.9))};
    share.paths.reserve(profile.files);
    for (size_t i = 0; i < profile.files; ++i) share.paths.push_back(make_path(random, profile));
    vocabulary.shares.push_back(std::move(share));
  }
  return vocabulary;
}

const Share& share_named(const Vocabulary& vocabulary, const char* name) {
  for (const Share& share : vocabulary.shares) {
    if (share.name == name) return share;
  }
  throw std::logic_error(std::string("no share ") + name);
}

}  // namespace sarvik::corpus
