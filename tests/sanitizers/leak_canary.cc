// Loses one block on purpose: under the suite's sanitizers it must end with a leak report, the
// proof that leak checking is live for every other test.
#include <cstdlib>

int main() {
  void* volatile lost = std::malloc(64);
  lost = nullptr;
  return lost != nullptr;
}
