// What the file service reports: one access request per moment of the corpus.
#include "access_events.h"

#include <errno.h>

#include <cctype>

#include "logstore/log_names.h"

namespace sarvik::corpus {

namespace {

struct Failure {
  uint16_t error_number;
  double chance;
};

struct ActionProfile {
  const char* operation;  // as the file service names it
  const char* prefix;     // direction prefix of the raw path
  std::vector<Failure> failures;
};

const ActionProfile& profile_of(int action) {
  static const ActionProfile profiles[] = {
      {"open", "r|", {{EACCES, 0.015}, {ENOENT, 0.008}}},
      {"open", "w|", {{EACCES, 0.02}, {EBUSY, 0.004}, {ENOSPC, 0.0003}}},
      {"open", "r|", {{EACCES, 0.01}}},
      {"delete", "", {{EACCES, 0.03}, {ENOENT, 0.01}}},
      {"rename", "", {{EACCES, 0.02}, {EEXIST, 0.01}}},
      {"mkdir", "", {{EEXIST, 0.04}, {EACCES, 0.01}}},
      {"rmdir", "", {{ENOTEMPTY, 0.08}, {EACCES, 0.01}}},
      {"close", "", {}},
  };
  return profiles[action];
}

// Everything before the last slash: the folder of a file.
std::string folder_of(const std::string& path) {
  size_t slash = path.rfind('/');
  return slash == std::string::npos ? path : path.substr(0, slash);
}

const char* const kNewFolders[] = {"New folder", "Neuer Ordner", "new", "2026", "tmp", "copy"};

}  // namespace

AccessEvents::AccessEvents(const Vocabulary& vocabulary, Random& random)
    : vocabulary(vocabulary), random(random), open_files(vocabulary.people.size() + 2) {}

AccessEvent& AccessEvents::next(const Moment& moment) {
  event.laptop = false;
  event.status = 1;
  event.error_number = 0;
  switch (moment.driver) {
    case Driver::kBackup:
      backup(&open_files[vocabulary.people.size()]);
      break;
    case Driver::kBurst:
      burst(moment.burst);
      break;
    case Driver::kOffice:
      if (random.chance(0.01)) {
        scan(moment.when, &open_files[vocabulary.people.size() + 1]);
        break;
      }
      size_t index = vocabulary.busy.pick(random);
      const Person& person = vocabulary.people[index];
      event.laptop = !person.laptop_host.empty() && random.chance(0.3);
      office(person, &open_files[index]);
      break;
  }
  return event;
}

void AccessEvents::office(const Person& person, OpenFile* open) {
  if (open->share != nullptr && random.chance(0.75)) {
    set(kClose, person, *open->share, open->path, open);
    return;
  }
  static const WeightedPick actions({62, 18, 5, 6, 4, 2.5, 1.5});
  Action action = static_cast<Action>(actions.pick(random));
  const Share& share = vocabulary.shares[person.shares.pick(random)];
  std::string path = file_in(share, person, /*popular=*/true);
  if (action == kList) path = ".";
  if (action == kMkdir) path = folder_of(path) + "/" + kNewFolders[random.below(6)];
  if (action == kRmdir) path = folder_of(path);
  set(action, person, share, path, open);
}

void AccessEvents::backup(OpenFile* open) {
  const Person& person = vocabulary.backup;
  if (open->share != nullptr) {
    set(kClose, person, *open->share, open->path, open);
    return;
  }
  const Share& share =
      vocabulary.shares[random.below(static_cast<uint32_t>(vocabulary.shares.size()))];
  const Person& owner =
      vocabulary.people[random.below(static_cast<uint32_t>(vocabulary.people.size()))];
  set(kRead, person, share, file_in(share, owner, /*popular=*/false), open);
}

void AccessEvents::burst(uint32_t id) {
  while (bursts.size() <= id) {
    const Person& person = vocabulary.people[vocabulary.busy.pick(random)];
    const Share& share = vocabulary.shares[person.shares.pick(random)];
    bursts.push_back(
        Burst{&person, &share, folder_of(file_in(share, person, true)), random.chance(0.1)});
  }
  const Burst& burst = bursts[id];
  size_t index = burst.person - vocabulary.people.data();
  OpenFile* open = &open_files[index];
  if (!burst.clearing && open->share != nullptr) {
    set(kClose, *burst.person, *open->share, open->path, open);
    return;
  }
  std::string path = burst.folder + "/" + file_name(random);
  set(burst.clearing ? kDelete : kRead, *burst.person, *burst.share, path, open);
}

void AccessEvents::scan(time_t when, OpenFile* open) {
  const Person& scanner = vocabulary.scanner;
  const Share& share = share_named(vocabulary, "scans");
  if (open->share != nullptr) {
    set(kClose, scanner, share, open->path, open);
    return;
  }
  set(kWrite, scanner, share, "2f/scan_" + stamp_for(when) + ".pdf", open);
}

void AccessEvents::set(Action action, const Person& person, const Share& share,
                       const std::string& path, OpenFile* open) {
  const ActionProfile& profile = profile_of(action);
  event.person = &person;
  event.operation = profile.operation;
  event.share = &share.name;
  event.raw_path = profile.prefix;
  event.raw_path += path;
  if (share.restricted && !person.trusted && action != kClose && random.chance(0.6)) {
    event.status = 0;
    event.error_number = EACCES;
  } else {
    for (const Failure& failure : profile.failures) {
      if (!random.chance(failure.chance)) continue;
      event.status = 0;
      event.error_number = failure.error_number;
      break;
    }
  }
  bool opened = (action == kRead || action == kWrite) && event.status != 0;
  open->share = opened ? &share : nullptr;
  if (opened) open->path = path;
}

std::string AccessEvents::file_in(const Share& share, const Person& person, bool popular) {
  const std::string& path =
      share.paths[popular ? share.popular.pick(random)
                          : random.below(static_cast<uint32_t>(share.paths.size()))];
  if (!share.homes) return path;
  std::string home;
  for (char c : person.login)
    home += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return home + "/" + path;
}

}  // namespace sarvik::corpus
