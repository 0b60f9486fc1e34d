/// Serves the objects to a master agent through its directive `pass_persist`: one command for one
/// object at a time, as lines of text on standard input and output.

#include "benchObjects.h"
#include "benchOptions.h"

#include <stdbool.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

enum { longestLine = 512 };

/// Ordered by name.
struct objectList {
    struct benchObject *objects;
    size_t count;
};

static struct objectList makeObjects(const struct benchOptions *options)
{
    const unsigned lastColumn = options->columns + benchRowColumn;
    const size_t most = options->scalars + (size_t)lastColumn * benchRows;
    struct objectList list = {calloc(most, sizeof *list.objects), 0};
    if (list.objects == NULL) {
        perror("passPersist");
        exit(EXIT_FAILURE);
    }
    for (unsigned index = 0; index < options->scalars; ++index) {
        list.objects[list.count++] = benchScalar(index);
    }
    for (unsigned column = benchRowColumn; column <= lastColumn; ++column) {
        for (unsigned row = 1; row <= benchRows; ++row) {
            list.objects[list.count++] = benchCell(column, row);
        }
    }
    return list;
}

/// Keeps only what fits: a longer name sorts after every object with the same beginning.
static struct benchObject nameFrom(const char *text)
{
    struct benchObject object = {.nameLength = 0};
    while (*text == '.' && object.nameLength < benchLongestName) {
        char *end = NULL;
        object.name[object.nameLength++] = strtoul(text + 1, &end, 10);
        text = end;
    }
    return object;
}

static int compareNames(const struct benchObject *one, const struct benchObject *other)
{
    for (size_t arc = 0; arc < one->nameLength && arc < other->nameLength; ++arc) {
        if (one->name[arc] != other->name[arc]) {
            return one->name[arc] < other->name[arc] ? -1 : 1;
        }
    }
    return (one->nameLength > other->nameLength) - (one->nameLength < other->nameLength);
}

/// The first object whose name is not before the given one; null after the last.
static struct benchObject *findFrom(const struct objectList *list, const struct benchObject *name)
{
    size_t begin = 0;
    size_t end = list->count;
    while (begin < end) {
        const size_t middle = begin + (end - begin) / 2;
        if (compareNames(&list->objects[middle], name) < 0) {
            begin = middle + 1;
        } else {
            end = middle;
        }
    }
    return begin < list->count ? &list->objects[begin] : NULL;
}

static struct benchObject *find(const struct objectList *list, const char *text)
{
    const struct benchObject name = nameFrom(text);
    struct benchObject *const found = findFrom(list, &name);
    return found != NULL && compareNames(found, &name) == 0 ? found : NULL;
}

static struct benchObject *findNext(const struct objectList *list, const char *text)
{
    const struct benchObject name = nameFrom(text);
    struct benchObject *found = findFrom(list, &name);
    if (found != NULL && compareNames(found, &name) == 0) {
        ++found;
    }
    return found != list->objects + list->count ? found : NULL;
}

static void answer(const struct benchObject *object)
{
    if (object == NULL) {
        puts("NONE");
        return;
    }
    for (size_t arc = 0; arc < object->nameLength; ++arc) {
        printf(".%lu", object->name[arc]);
    }
    printf("\ninteger\n%ld\n", object->value);
}

static void set(struct benchObject *object, const char *typeAndValue)
{
    static const char type[] = "integer ";
    if (object == NULL) {
        puts("not-writable");
    } else if (strncmp(typeAndValue, type, strlen(type)) != 0) {
        puts("wrong-type");
    } else {
        object->value = strtol(typeAndValue + strlen(type), NULL, 10);
        puts("DONE");
    }
}

/// Reads the next line without its line end; false at the end of the input.
static bool readLine(char *line)
{
    if (fgets(line, longestLine, stdin) == NULL) {
        return false;
    }
    line[strcspn(line, "\n")] = '\0';
    return true;
}

static void serve(const struct objectList *list, const char *command)
{
    char name[longestLine] = "";
    char typeAndValue[longestLine] = "";
    if (strcmp(command, "PING") == 0) {
        puts("PONG");
    } else if (strcmp(command, "get") == 0 && readLine(name)) {
        answer(find(list, name));
    } else if (strcmp(command, "getnext") == 0 && readLine(name)) {
        answer(findNext(list, name));
    } else if (strcmp(command, "set") == 0 && readLine(name) && readLine(typeAndValue)) {
        set(find(list, name), typeAndValue);
    }
    fflush(stdout);
}

int main(int argc, char **argv)
{
    const struct benchOptions options = readBenchOptions(argc, argv);
    const struct objectList list = makeObjects(&options);
    for (char command[longestLine]; readLine(command);) {
        serve(&list, command);
    }
    free(list.objects);
    return EXIT_SUCCESS;
}
