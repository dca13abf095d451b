// Starts the library and reports the outcome: exit 0 and "loaded" when the engine was found,
// exit 3 with the error number and text when it was not.
#include <cstdio>

#include <varnock/varnock.h>

int main() {
  try {
    varnock::StartUp();
    std::printf("loaded %d\n", varnock::hecDatJul("3/7/2001"));
    return 0;
  } catch (const varnock::AutomationError& error) {
    std::printf("error %d %s\n", error.Number(), error.Description().c_str());
    return 3;
  }
}
