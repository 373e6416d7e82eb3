/* The lower bound of the compiler: libyaml's events for a file, none of them used. yaml_load FILE
 */
#include <stdio.h>
#include <yaml.h>

int main(int argc, char **argv) {
    FILE *file = argc == 2 ? fopen(argv[1], "rb") : NULL;
    yaml_parser_t parser;
    if (file == NULL || !yaml_parser_initialize(&parser))
        return 1;
    yaml_parser_set_input_file(&parser, file);
    for (int at_end = 0; !at_end;) {
        yaml_event_t event;
        if (!yaml_parser_parse(&parser, &event))
            return 1;
        at_end = event.type == YAML_STREAM_END_EVENT;
        yaml_event_delete(&event);
    }
    yaml_parser_delete(&parser);
    fclose(file);
    return 0;
}
