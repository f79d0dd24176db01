#include "position/settings.h"

std::int32_t OwnBook;
std::int32_t MultiPV;
std::int32_t UseLearning;
std::int32_t UseLearningData;
std::int32_t LogLearningIntoFile;
std::int32_t BookLearnDone;
std::int32_t Pondering;
std::int32_t PonderOn;
std::int32_t UseEGTB;
std::int32_t UciMode;
std::int32_t FritzMode;
std::int32_t Aggressivity;
std::int32_t Cowardice;
std::int32_t AggressivityRate;
std::int32_t CowardiceRate;
std::int32_t ResignValue;
std::int32_t ResignTimes;
std::int32_t BookLearningMode;
std::int32_t UseBookLearning;
std::int32_t UseBookWeights;
std::int32_t BookLearningBound;
std::int32_t VarietyOfPlay;
std::int32_t TablebasePieces;
std::string EGTBPath;
std::int32_t ObeyEachGo;

std::int32_t ForceMode;
std::int32_t PostThinking;

std::int32_t TimeLeft;
std::int32_t TimeIncrement;
std::int32_t MovesPerPeriod;
std::int32_t MoveTime;
std::int32_t MaxDepth;
std::int32_t MateDepth;
std::int64_t NodeLimit;
std::int32_t ClockedDepth = NO_DEPTH_LIMIT;
std::int32_t TimeLeftAfterInfinite = INFINITE_TIME;

void AssignDefaults() {
    OwnBook = 1;
    MultiPV = 1;
    UseLearning = 0;
    UseLearningData = 0;
    LogLearningIntoFile = 0;
    BookLearnDone = 1;
    Pondering = 1;
    PonderOn = 1;
    UseEGTB = 1;
    UciMode = 0;
    FritzMode = 0;
    TimeIncrement = 0;
    MovesPerPeriod = 0;
    NodeLimit = 0;
    EGTBPath = "c:\\tablebases\\";
    ObeyEachGo = 0;
}

void AssignStyleDefaults() {
    Aggressivity = 100;
    Cowardice = 100;
    ResignValue = 800;
    ResignTimes = 3;
    AggressivityRate = Aggressivity / 2;
    CowardiceRate = Cowardice / 2;
    BookLearningMode = 0;
    UseBookLearning = 1;
    UseBookWeights = 1;
    BookLearningBound = 400;
    VarietyOfPlay = 10;
}
