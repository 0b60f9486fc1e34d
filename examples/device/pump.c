/* The device application of a pump with four valves; pump.yaml is its mapping. */
#include <errno.h>
#include <stdio.h>
#include <string.h>

#include <tarnodevice.h>

static char base[] = ".1.3.6.1.4.1.32473.21";
static uint8_t rows = TARNO_FOUR_ROWS;
static char contact[32] = "ops@example.net";
static uint8_t openings[4] = {100, 100, 50, 0};

static tarno_outcome get_pressure(void *user, uint16_t id, tarno_value *value)
{
    (void)user, (void)id;
    value->u = 412; /* hundredths of a bar; your sensor comes here */
    return TARNO_DONE;
}

static tarno_outcome set_opening(void *user, uint16_t id, const tarno_value *value)
{
    (void)id;
    if (value->u > 100)
        return TARNO_FAILED;
    *(uint8_t *)user = (uint8_t)value->u; /* your actuator comes here */
    return TARNO_DONE;
}

/* Id, kind, width, whether a manager may set it, getter, setter, variable. */
static const tarno_object objects[] = {
    {TARNO_BASE_OID, TARNO_TEXT, sizeof base, 0, NULL, NULL, base},
    {TARNO_TABLE_ROWS, TARNO_UNSIGNED, 1, 0, NULL, NULL, &rows},
    {0x0010, TARNO_UNSIGNED, 2, 0, get_pressure, NULL, NULL},
    {0x0011, TARNO_TEXT, sizeof contact, 1, NULL, NULL, contact},
    {0x0100, TARNO_UNSIGNED, 1, 1, NULL, set_opening, &openings[0]},
    {0x0101, TARNO_UNSIGNED, 1, 1, NULL, set_opening, &openings[1]},
    {0x0102, TARNO_UNSIGNED, 1, 1, NULL, set_opening, &openings[2]},
    {0x0103, TARNO_UNSIGNED, 1, 1, NULL, set_opening, &openings[3]},
};

int main(void)
{
    tarno_device *device = tarno_device_new(NULL);
    int error = device == NULL ? -ENOMEM : 0;
    if (error == 0)
        error = tarno_device_add(device, objects, sizeof objects / sizeof objects[0]);
    if (error == 0)
        error = tarno_device_open(device);
    if (error == 0)
        error = tarno_device_serve(device); /* until the program is killed */
    fprintf(stderr, "pump: %s\n", strerror(-error));
    return 1;
}
