// sarvik-log's settings, read by a module that is loaded only when they are needed.
#include "log/loaded_settings.h"

#include <dlfcn.h>
#include <limits.h>
#include <sys/stat.h>
#include <unistd.h>

namespace sarvik::log_tool {

namespace {

using MakeReader = query::SettingsReader* (*)();

// The directory of the running program, with its final '/'; empty when it cannot be told.
std::string program_dir() {
  char path[PATH_MAX];
  ssize_t length = readlink("/proc/self/exe", path, sizeof path - 1);
  if (length <= 0) return "";
  std::string text(path, static_cast<size_t>(length));
  return text.substr(0, text.rfind('/') + 1);
}

// Whether `path` is a regular file that neither it nor its directory lets anyone but root or
// the running user change. A copy of the program run from a directory others may write (by
// root, say) then never loads what another user put beside it.
bool trusted_module(const std::string& path) {
  auto kept = [](const std::string& name, bool regular) {
    struct stat status;
    return stat(name.c_str(), &status) == 0 &&
           (regular ? S_ISREG(status.st_mode) : S_ISDIR(status.st_mode)) &&
           (status.st_uid == 0 || status.st_uid == geteuid()) &&
           (status.st_mode & (S_IWGRP | S_IWOTH)) == 0;
  };
  return kept(path, true) && kept(path.substr(0, path.rfind('/') + 1) + ".", false);
}

}  // namespace

bool LoadedSettings::load(const std::string& path, std::string* error) {
  if (!reader) {
    std::string dir = program_dir();
    void* module = nullptr;
    std::string tried;
    for (const std::string& candidate :
         {dir + kSettingsModule, dir + SARVIK_SETTINGS_MODULE_DIR + kSettingsModule}) {
      if (!trusted_module(candidate)) {
        tried = candidate + ": not there, or writable by another user";
        continue;
      }
      // Never unloaded: the rules it reads keep pointing into it.
      module = dlopen(candidate.c_str(), RTLD_NOW | RTLD_LOCAL);
      if (module != nullptr) break;
      tried = dlerror();
    }
    auto make = module == nullptr
                    ? nullptr
                    : reinterpret_cast<MakeReader>(dlsym(module, "sarvik_log_settings_reader"));
    if (make == nullptr) {
      *error = "cannot load the settings reader: " + tried;
      return false;
    }
    reader.reset(make());
  }
  return reader->load(path, error);
}

bool LoadedSettings::volume(std::string* volume, std::string* error) {
  return reader->volume(volume, error);
}

bool LoadedSettings::alert_rules(std::vector<AlertInfo>* rules, std::string* error) {
  return reader->alert_rules(rules, error);
}

}  // namespace sarvik::log_tool
