#include "benchOptions.h"

#include "benchObjects.h"

#include <stdio.h>
#include <stdlib.h>

#include <unistd.h>

enum { wrongUsage = 2, mostMeasuredScalars = 1000, mostMeasuredColumns = 20 };

void refuseBenchOptions(const char *program)
{
    fprintf(stderr, "%s: options are [-x ADDRESS] [-s SCALARS] [-c COLUMNS] [ARGUMENT]\n", program);
    exit(wrongUsage);
}

static unsigned countOf(const char *text, unsigned most, const char *program)
{
    char *end = NULL;
    const unsigned long count = strtoul(text, &end, 10);
    if (*end != '\0' || count < 1 || count > most) {
        refuseBenchOptions(program);
    }
    return (unsigned)count;
}

struct benchOptions readBenchOptions(int argc, char **argv)
{
    struct benchOptions options = {.scalars = mostMeasuredScalars, .columns = mostMeasuredColumns};
    for (int option = 0; (option = getopt(argc, argv, "x:s:c:")) != -1;) {
        switch (option) {
        case 'x':
            options.address = optarg;
            break;
        case 's':
            options.scalars = countOf(optarg, benchMostScalars, argv[0]);
            break;
        case 'c':
            options.columns = countOf(optarg, benchMostColumns, argv[0]);
            break;
        default:
            refuseBenchOptions(argv[0]);
        }
    }
    options.argument = optind < argc ? argv[optind] : NULL;
    return options;
}
