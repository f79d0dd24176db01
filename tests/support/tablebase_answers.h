// What the tablebases say of sampled positions with few men, where the file of answers is at hand.
#pragma once

#include <fstream>
#include <sstream>
#include <string>
#include <vector>

struct TablebaseAnswer {
    std::string material;  // "KRvKP", the stronger side first
    std::string fen;
    int wdl;  // -2..2 for the side to move
    int dtz;
};

/// The answers for one material, or for all; empty without the file.
inline std::vector<TablebaseAnswer> TablebaseAnswers(const std::string& material = "",
                                                     const std::string& path = QUORVANTH_SHARED "/syzygy/answers.csv") {
    std::vector<TablebaseAnswer> answers;
    std::ifstream file(path);
    for (std::string line; std::getline(file, line);) {
        std::istringstream fields(line);
        TablebaseAnswer answer;
        std::string wdl;
        std::string dtz;
        std::getline(fields, answer.material, ';');
        std::getline(fields, answer.fen, ';');
        std::getline(fields, wdl, ';');
        std::getline(fields, dtz, ';');
        if ((material.empty() || answer.material == material) && !dtz.empty()) {
            answer.wdl = std::stoi(wdl);
            answer.dtz = std::stoi(dtz);
            answers.push_back(answer);
        }
    }
    return answers;
}
