#include "support/fields.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <memory>

#include "support/folder.h"

namespace support {
namespace {

// The framework remembers what it reads in a folder of this run of the tests.
class CacheOfTheTests : public testing::Environment {
  public:
    void SetUp() override {
        folder_ = std::make_unique<Folder>();
        setenv("MRB_CACHE_FOLDER", folder_->path().c_str(), 1);
    }
    void TearDown() override { folder_.reset(); }

  private:
    std::unique_ptr<Folder> folder_;
};

[[maybe_unused]] const testing::Environment *const cache =
    testing::AddGlobalTestEnvironment(new CacheOfTheTests);

struct Close {
    void operator()(FILE *pipe) const { EXPECT_EQ(pclose(pipe), 0); }
};

} // namespace

std::pair<int, std::string> textField(const Client &client, int index, const char *name) {
    auto [code, value] = fieldOf<char *>(client, index, mrb_get_item_value_char_v2, name, nullptr);
    std::string copy = value != nullptr ? value : "";
    std::free(value);
    return {code, copy};
}

std::string text(const Client &client, int index, const char *name) {
    auto [code, value] = textField(client, index, name);
    EXPECT_EQ(code, MRB_ERR_NONE) << name;
    return value;
}

long long number(const Client &client, int index, const char *name) {
    const auto [code, value] = fieldOf(client, index, mrb_get_item_value_int_v2, name, -1);
    EXPECT_EQ(code, MRB_ERR_NONE) << name;
    return value;
}

long long longNumber(const Client &client, int index, const char *name) {
    const auto [code, value] = fieldOf(client, index, mrb_get_item_value_lint_v2, name, -1LL);
    EXPECT_EQ(code, MRB_ERR_NONE) << name;
    return value;
}

bool flag(const Client &client, int index, const char *name) {
    const auto [code, value] = fieldOf(client, index, mrb_get_item_value_bool_v2, name, false);
    EXPECT_EQ(code, MRB_ERR_NONE) << name;
    return value;
}

double real(const Client &client, int index, const char *name) {
    const auto [code, value] = fieldOf(client, index, mrb_get_item_value_double_v2, name, -1000.0);
    EXPECT_EQ(code, MRB_ERR_NONE) << name;
    return value;
}

int indexOf(const Client &client, const std::string &name) {
    for (int index = 0; index < client.count(); ++index) {
        if (client.item(index)["name"] == name) {
            return index;
        }
    }
    ADD_FAILURE() << "there is no " << name;
    return -1;
}

std::string shell(const std::string &folder, const std::string &command) {
    const std::string whole = "cd '" + folder + "' && { " + command + "; }";
    const std::unique_ptr<FILE, Close> pipe(popen(whole.c_str(), "r"));
    std::string output;
    std::array<char, 4096> block{};
    while (pipe && std::fgets(block.data(), block.size(), pipe.get()) != nullptr) {
        output += block.data();
    }
    return output;
}

} // namespace support
