// libs-floor: the memory of a process that loads the service's shared libraries and does nothing
// else, the floor under the service's own. Prints the VmHWM line of its status and the memory it
// wrote (Private_Dirty of its smaps_rollup) as "Private: N kB".
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <string>

int main() {
  std::ifstream status("/proc/self/status");
  std::string line;
  while (std::getline(status, line)) {
    if (line.compare(0, 6, "VmHWM:") == 0) std::cout << line << '\n';
  }
  std::ifstream rollup("/proc/self/smaps_rollup");
  long private_kb = 0;
  while (std::getline(rollup, line)) {
    const std::string prefix("Private_Dirty:");
    if (line.compare(0, prefix.size(), prefix) == 0) {
      private_kb += std::atol(line.c_str() + prefix.size());
    }
  }
  std::cout << "Private: " << private_kb << " kB\n";
  return 0;
}
