// libs-floor: the peak resident memory of a process that loads the service's shared libraries and
// does nothing else, the floor under the service's own. Prints the VmHWM line of its status.
#include <fstream>
#include <iostream>
#include <string>

int main() {
  std::ifstream status("/proc/self/status");
  std::string line;
  while (std::getline(status, line)) {
    if (line.compare(0, 6, "VmHWM:") == 0) std::cout << line << '\n';
  }
  return 0;
}
