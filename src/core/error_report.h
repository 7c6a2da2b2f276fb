// How the service reports a failure that reached it: one line on the standard error stream.
#ifndef SARVIK_CORE_ERROR_REPORT_H_
#define SARVIK_CORE_ERROR_REPORT_H_

namespace sarvik {

// Prints the exception being handled: "Error: " and its text with a line end and a flush for a
// std::runtime_error or std::logic_error (the XML model's and the command runner's errors are of
// these kinds), "Error: unknown exception" for anything else. Call it only inside a catch block.
void report_current_exception();

}  // namespace sarvik

#endif  // SARVIK_CORE_ERROR_REPORT_H_
