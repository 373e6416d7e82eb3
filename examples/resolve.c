/* A small shell over the resolver: resolve TREE.par. Reads lines from standard input; runs
 * commands, enters submodes ("exit" leaves one, "end" all), explains errors, and lists what may
 * stand at a "?" at the end of a line. Keywords may be abbreviated. */
#include "resolve/resolver.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

typedef struct shell_t {
    const tsh_grammar_t *grammar;
    tsh_context_t *context;
    tsh_answer_t *answer;
} shell_t;

/* A device would have one of these for each name in the tree. This one shows what it is given: the
 * values of the submodes around the command, then those of its line. */
typedef void (*command_fn)(const shell_t *shell, const tsh_reading_t *reading);

static void show_values(const tsh_reading_t *reading) {
    for (uint32_t i = 0; i < reading->word_count; ++i) {
        const tsh_word_t *word = &reading->words[i];
        if (word->parameter < 0)
            printf(" %s", word->text);
        else
            printf(" '%s'", word->text);
    }
}

static void show_call(const shell_t *shell, const tsh_reading_t *reading) {
    printf("%s:", reading->command->func_id);
    for (uint32_t level = 1; level <= tsh_context_depth(shell->context); ++level) {
        show_values(tsh_context_place(shell->context, level));
        printf(" /");
    }
    show_values(reading);
    printf("\n");
}

static void show_candidates(const shell_t *shell) {
    for (uint32_t n = 0; n < tsh_answer_candidate_count(shell->answer); ++n) {
        const tsh_candidate_t *candidate = tsh_answer_candidate(shell->answer, n);
        printf("  %s", candidate->text);
        if (candidate->node->help[0] != '\0')
            printf(": %s", candidate->node->help);
        if (candidate->bounds[0] != '\0')
            printf(" (%s)", candidate->bounds);
        printf("\n");
    }
}

static void show_error(const shell_t *shell, const char *line, size_t length) {
    const tsh_range_t range = tsh_answer_range(shell->answer);
    printf("error: %s\n  %.*s\n  %*s^\n", tsh_answer_text(shell->answer), (int)length, line,
           (int)range.begin, "");
    show_candidates(shell);
}

/* A line may lead to several nodes: the first that has a function runs. */
static void run(const shell_t *shell, const command_fn *functions) {
    for (uint32_t n = 0; n < tsh_answer_reading_count(shell->answer); ++n) {
        const tsh_reading_t *reading = tsh_answer_reading(shell->answer, n);
        const int32_t number = tsh_grammar_function_of(shell->grammar, reading->command);
        if (number < 0)
            continue;
        functions[number](shell, reading);
        return;
    }
    printf("nothing to run\n");
}

static void handle(const shell_t *shell, const command_fn *functions, const char *line,
                   size_t length) {
    if (length > 0 && line[length - 1] == '?') {
        tsh_complete(shell->context, line, length, length - 1, 0, shell->answer);
        show_candidates(shell);
        return;
    }
    if (length == 4 && memcmp(line, "exit", 4) == 0) {
        tsh_context_leave(shell->context, 1);
        return;
    }
    if (length == 3 && memcmp(line, "end", 3) == 0) {
        tsh_context_leave(shell->context, tsh_context_depth(shell->context));
        return;
    }
    switch (tsh_resolve(shell->context, line, length, 0, shell->answer)) {
    case TSH_EMPTY:
        break;
    case TSH_ACCEPTED:
        if (tsh_context_enter(shell->context, shell->answer) != 0)
            run(shell, functions);
        break;
    case TSH_NO_MEMORY:
        printf("error: not enough memory\n");
        break;
    default:
        show_error(shell, line, length);
    }
}

int main(int argc, char **argv) {
    tsh_error_t error;
    char line[1024];
    if (argc != 2) {
        fputs("usage: resolve TREE.par\n", stderr);
        return 2;
    }
    tsh_grammar_t *grammar = tsh_grammar_open(argv[1], NULL, &error);
    if (grammar == NULL) {
        fprintf(stderr, "resolve: %s: %s\n", argv[1], error.text);
        return 1;
    }
    const uint32_t count = tsh_grammar_function_count(grammar);
    command_fn *functions = (command_fn *)calloc(count + 1, sizeof *functions);
    const shell_t shell = {grammar, tsh_context_new(grammar), tsh_answer_new(grammar)};
    for (uint32_t n = 0; functions != NULL && n < count; ++n)
        functions[n] = show_call; /* a device looks tsh_grammar_function_id(grammar, n) up */
    if (functions == NULL || shell.context == NULL || shell.answer == NULL)
        fputs("resolve: not enough memory\n", stderr);
    else
        while (fgets(line, sizeof line, stdin) != NULL)
            handle(&shell, functions, line, strcspn(line, "\r\n"));
    tsh_answer_free(shell.answer);
    tsh_context_free(shell.context);
    tsh_grammar_close(grammar);
    free(functions);
    return 0;
}
