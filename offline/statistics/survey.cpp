#include "statistics/survey.h"

#include <optional>

#include "eval/init.h"
#include "eval/parameters.h"
#include "games/rules.h"
#include "position/board.h"
#include "progress.h"
#include "values/store_values.h"

namespace {

constexpr std::int64_t MOST_COMPLAINTS = 20;  // of one file; the count at the end tells the rest

void SurveyGame(const PgnGame& game, CountedMoves counted, Survey& survey) {
    BeginGame(game.fen);
    survey.material.BeginGame();
    for (std::size_t i = 0; i < game.moves.size(); ++i) {
        const std::optional<int> score = ScoreOfComment(game.comments[i]);
        if (score || counted == CountedMoves::ALL) {
            survey.moves.Count(game.moves[i], GameMoves());
        }
        PlayGameMove(game.moves[i]);
        survey.material.NoteMove(score);
    }
    survey.material.EndGame(game.result);
    survey.positions += static_cast<std::int64_t>(game.moves.size()) + 1;
    ++survey.games;
}

}  // namespace

void PrepareSurvey(const FileValues& values) {
    InitializeRules();
    AssignParameterDefaults();
    StoreFileValues(values);
    ValidateParameters();
    BuildDerivedRows();
}

void SurveyGames(const std::string& name, std::string_view text, CountedMoves counted, Survey& survey) {
    constexpr std::size_t ALL_PLIES = static_cast<std::size_t>(-1);
    Progress progress(name, text.size());
    PgnReader reader(text);
    PgnGame game;
    std::string error;
    std::int64_t complaints = 0;
    for (PgnStep step = reader.Next(ALL_PLIES, game, error); step != PgnStep::END;
         step = reader.Next(ALL_PLIES, game, error)) {
        progress.Report(reader.Offset());
        if (step == PgnStep::GAME) {
            SurveyGame(game, counted, survey);
            continue;
        }
        ++survey.unreadable;
        if (++complaints <= MOST_COMPLAINTS) {
            std::string message = name + ":" + std::to_string(reader.ErrorLine());
            progress.Say(message.append(": passed over: ").append(error));
        }
    }
}
