// A program outside the project, built against the installed package.
#include <kelp/host.h>
#include <kelp/kelp.h>

#include <iostream>

namespace {
class Echo final : public kelp::host::Object<qor::quv::fw::ILogger> {
 public:
  void fatal(const char*, const char*) override {}
  void error(const char* c, const char* t) override {
    std::cout << "consumer: ERROR: " << c << ": " << t << "\n";
  }
  void warning(const char*, const char*) override {}
  void notice(const char*, const char*) override {}
  void info(const char*, const char*) override {}
  void debug(const char*, const char*) override {}
};
}  // namespace

int main() {
  auto app = kelp::host::Application::create();
  app->installLogger(new Echo);
  qor::quv::util::eError(app.get(), QUV_LOG_CATEGORY, std::string("%1") << "hello");
  return 0;
}
