// sarvik: the log keeper of the storage appliance.
#include "core/service_entry.h"

int main(int argc, char** argv) { return sarvik::run_service(argc, argv); }
