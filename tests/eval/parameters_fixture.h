// A working directory of its own, and the parameters put back afterwards.
#pragma once

#include "eval/parameter_file.h"
#include "eval/parameters.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <string>

class ParametersFixture : public testing::Test {
  protected:
    void SetUp() override {
        home_ = std::filesystem::current_path();
        directory_ = std::filesystem::temp_directory_path() / ("quorvanth_parameters_" + std::to_string(getpid()));
        std::filesystem::remove_all(directory_);
        std::filesystem::create_directory(directory_);
        std::filesystem::current_path(directory_);
        AssignParameterDefaults();
    }

    void TearDown() override {
        AssignParameterDefaults();
        std::filesystem::current_path(home_);
        std::filesystem::remove_all(directory_);
    }

    static void WriteText(const std::string& text) { std::ofstream("values.txt", std::ios::binary) << text; }

    /// What `action` prints.
    template <typename Action>
    static std::string Printed(Action action) {
        testing::internal::CaptureStdout();
        action();
        return testing::internal::GetCapturedStdout();
    }

  private:
    std::filesystem::path home_;
    std::filesystem::path directory_;
};
