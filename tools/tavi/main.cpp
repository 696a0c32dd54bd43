#include <Commands.hpp>
#include <Interrupt.hpp>

int main(int argc, char** argv) {
  NORV::TaviTool::Interrupt::install();
  return NORV::TaviTool::runTool(argc, argv);
}
