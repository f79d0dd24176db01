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
};

/// The answers for one material, or for all; empty without the file.
inline std::vector<TablebaseAnswer> TablebaseAnswers(const std::string& material = "") {
    std::vector<TablebaseAnswer> answers;
    std::ifstream file(QUORVANTH_SHARED "/syzygy/answers.csv");
    for (std::string line; std::getline(file, line);) {
        std::istringstream fields(line);
        TablebaseAnswer answer;
        std::string wdl;
        std::getline(fields, answer.material, ';');
        std::getline(fields, answer.fen, ';');
        std::getline(fields, wdl, ';');
        if ((material.empty() || answer.material == material) && !wdl.empty()) {
            answer.wdl = std::stoi(wdl);
            answers.push_back(answer);
        }
    }
    return answers;
}
