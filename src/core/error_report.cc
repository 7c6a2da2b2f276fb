// How the service reports a failure that reached it: one line on the standard error stream.
#include "core/error_report.h"

#include <iostream>
#include <stdexcept>

namespace sarvik {

void report_current_exception() {
  try {
    throw;
  } catch (const std::runtime_error& error) {
    std::cerr << "Error: " << error.what() << std::endl;
  } catch (const std::logic_error& error) {
    std::cerr << "Error: " << error.what() << std::endl;
  } catch (...) {
    std::cerr << "Error: unknown exception\n";
  }
}

}  // namespace sarvik
