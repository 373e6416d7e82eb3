/* The yardstick of the compiler: libfyaml loads a file, and nothing is made of it. yaml_load FILE
 */
#include <libfyaml.h>

int main(int argc, char **argv) {
    struct fy_document *document = argc == 2 ? fy_document_build_from_file(NULL, argv[1]) : NULL;
    if (document == NULL)
        return 1;
    fy_document_destroy(document);
    return 0;
}
