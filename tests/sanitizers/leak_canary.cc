// Loses one block on purpose. Run under the suite's sanitizers it must end
// with a leak report: the proof that leak checking is live for every other
// test, not switched off by an option or a debugger.
#include <cstdlib>
#include <cstring>

int main() {
  void* volatile lost = std::malloc(64);
  std::memset(lost, 1, 64);
  lost = nullptr;
  return 0;
}
