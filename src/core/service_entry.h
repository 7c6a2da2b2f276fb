// The process entry of the service.
#ifndef SARVIK_CORE_SERVICE_ENTRY_H_
#define SARVIK_CORE_SERVICE_ENTRY_H_

namespace sarvik {

// Runs the service and returns only on failure, with the exit status 2 after an "Error: " line
// on the standard error stream. Only the first argument is looked at: "-D" or "--daemon" puts
// the process in the background, anything else is ignored. Main thread.
int run_service(int argc, char** argv);

}  // namespace sarvik

#endif  // SARVIK_CORE_SERVICE_ENTRY_H_
