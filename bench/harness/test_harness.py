"""What the harness computes from its measurements."""
from __future__ import annotations

import json
import sys
from pathlib import Path

import pytest

_BENCH = Path(__file__).resolve().parents[1]
sys.path[:0] = [str(Path(__file__).parent), str(_BENCH.parent / "tests" / "integration")]

from alarms import UNWATCHED, WATCHED, WITHOUT, AlarmCosts, Cost, alarms_table, summary
from calls import Calls, calls_table, parse_counts
from contestants import (
    AGENT, AGENT_OVER_TCP, BARE, BARE_EXCHANGES, BARE_QUEUE, Exchanges, Slice, StartUp,
)
from figures import DeviceExchanges, Results, ScaleFigures
from growth import Sample, batches, growth
from limits import Bound, Judged, judge, parse_limits, read_limits
from objects import Size
from harness import LONG, finish
from pictures import ratio_lines, scale_blocks, scale_keys
from processes import Memory, parse_memory
from report import as_structure, page, show
from rounds import LOADS, SETS, Measured, in_turn, loads_of
from startup import StartUps
from tables import Table, plain_number


def slice_at(rate: float, subagent_seconds: float = 0.25) -> Slice:
    return Slice(requests=int(rate), seconds=1, subagent_seconds=subagent_seconds, all_seconds=0.9)


def measured_with(**rates: list[float]) -> Measured:
    """The same rates under every load that a contestant runs, round by round."""
    names = {"agent": AGENT, "over_tcp": AGENT_OVER_TCP, "bare": BARE, "bare_queue": BARE_QUEUE,
             "bare_exchanges": BARE_EXCHANGES}
    return Measured({(load, names[key]): [slice_at(rate) for rate in values]
                     for key, values in rates.items() for load in loads_of(names[key])})


def scale_at(size: Size, rate: float, start_up: float, resident: int) -> ScaleFigures:
    rates = dict.fromkeys(("get1", "walkScalars", "walkTable"), rate)
    return ScaleFigures(AGENT, size, rates, Memory(resident, 4000, 1000), start_up)


@pytest.fixture
def results() -> Results:
    """Of a complete run."""
    exchanges = {(load, name): (2.0, 1.0) for name in (AGENT, BARE_QUEUE, BARE_EXCHANGES) for load in loads_of(name)}
    size = Size(50, 6)
    return Results(
        size, measured_with(agent=[90, 190, 290], bare_queue=[100, 200, 300], bare_exchanges=[90, 200, 290]), exchanges,
        memory={AGENT: Memory(9000, 4000, 1000), BARE_QUEUE: Memory(8000, 3900, 900)},
        start_ups=StartUps({AGENT: [StartUp(0.012, 0.022)], BARE_QUEUE: [StartUp(0.010, 0.021)]}),
        growth=[Sample(100, Memory(9000, 4000, 1000)), Sample(1000, Memory(9000, 4050, 1008))],
        queue_rates=[1.0, 5.0, 3.0],
        scales=[scale_at(size, 100, 0.022, 9080), scale_at(Size(10, 6), 100, 0.02, 9000),
                scale_at(Size(50, 2), 100, 0.022, 9080)],
        many_against_few={AGENT: 0.99, BARE_QUEUE: 0.98},
        transports=measured_with(agent=[100, 200], over_tcp=[90, 180]),
        device_library=DeviceExchanges(exchanges=1000, raw=5000, library=5500, ratio=1.1))


@pytest.fixture
def judged(results: Results) -> list[Judged]:
    """One limit that holds, and one missed for a known reason."""
    return judge(parse_limits(_KNOWN_MISS), results.figures(), in_check=False)


def test_rounds_go_forth_and_back() -> None:
    assert [in_turn("ABC", number) for number in range(3)] == [list("ABC"), list("CBA"), list("ABC")]


def test_a_ratio_is_the_median_of_the_rounds_ratios() -> None:
    measured = measured_with(agent=[50, 300, 80], bare_queue=[100, 100, 100])
    assert measured.ratio("get1", AGENT, BARE_QUEUE) == 0.8


def test_a_disturbance_of_whole_rounds_leaves_a_ratio_as_it_is() -> None:
    measured = measured_with(agent=[90, 9, 90], bare_queue=[100, 10, 100])
    assert measured.ratio("get1", AGENT, BARE_QUEUE) == 0.9


def test_processor_time_is_that_of_one_request() -> None:
    assert slice_at(rate=1000, subagent_seconds=0.25).subagent_per_request == 0.00025


def test_a_rate_by_processor_time_leaves_out_what_others_took() -> None:
    disturbed = Slice(requests=90, seconds=1.8, subagent_seconds=0.3, all_seconds=0.9)
    assert (disturbed.rate, disturbed.processor_rate) == (50, 100)


def test_the_share_of_the_core_tells_what_others_took() -> None:
    assert measured_with(agent=[10, 20]).share_of_core() == 0.9


def test_who_differs_in_a_few_loads_only_runs_no_others() -> None:
    assert loads_of(BARE_EXCHANGES) == SETS
    assert loads_of(AGENT_OVER_TCP) == ("get1", "get20")
    assert loads_of(AGENT) == LOADS


def test_start_ups_are_compared_start_by_start() -> None:
    starts = StartUps({AGENT: [StartUp(1, 4), StartUp(10, 40), StartUp(3, 5)],
                       BARE_QUEUE: [StartUp(0, 2), StartUp(8, 30), StartUp(2, 4)]})
    assert starts.difference(AGENT, BARE_QUEUE, lambda each: each.first) == 1
    assert starts.difference(AGENT, BARE_QUEUE, lambda each: each.last) == 2


def test_exchanges_are_counted_from_a_point_on() -> None:
    assert Exchanges(12, 5).since(Exchanges(10, 4)) == Exchanges(2, 1)


def test_private_memory_is_what_no_other_process_maps() -> None:
    rollup = ("5581e7a2e000-7ffd6a7f5000 ---p 00000000 00:00 0    [rollup]\nRss:  9120 kB\nPss:  4000 kB\n"
              "Private_Clean:  1000 kB\nPrivate_Dirty:  2048 kB\nAnonymous:  2000 kB\n")
    assert parse_memory(rollup) == Memory(resident=9120, private=3048, anonymous=2000)


def test_growth_counts_from_the_end_of_the_warm_up() -> None:
    samples = [Sample(10, Memory(500, 200, 100)), Sample(50, Memory(900, 400, 400)), Sample(100, Memory(700, 300, 132))]
    assert growth(samples) == 32


def test_the_requests_of_the_growth_are_of_all_loads_and_exactly_as_many_as_wanted() -> None:
    parts = batches(10_500)
    assert sum(count for _, _, count in parts) == 10_500
    assert {load for _, load, _ in parts} == set(LOADS)
    assert [first for first, _, _ in parts[1:]] == [first + count for first, _, count in parts[:-1]]


def test_a_walk_has_one_request_for_each_object_and_one_for_the_end() -> None:
    assert Size(50, 6).requests_of_walk("walkScalars") == 51
    assert Size(50, 6).requests_of_walk("walkTable") == 57


def test_the_objects_are_numbered_through() -> None:
    size = Size(scalars=201, columns=2)
    mapping = size.mapping()
    assert [len(mapping.scalars), len(mapping.cells)] == [201, 16]
    assert mapping.scalars[200].arcs == (1, 3, 1)
    assert [mapping.scalars[200].obj_id, mapping.cells[-1].obj_id] == [0x1000 + 200, 0x3000 + 15]
    assert size.last_oids == [mapping.scalars[-1].oid, mapping.cells[-1].oid]


@pytest.mark.parametrize(("bound", "figure", "holds"), [
    (">= 0.92", 0.92, True), (">= 0.92", 0.919, False), ("<= 3", 3.0, True), ("<= 3", 3.1, False),
    ("== 2", 2.0, True), ("== 2", 2.05, False),
])
def test_bounds(bound: str, figure: float, holds: bool) -> None:
    assert Bound.parse(bound).holds(figure) == holds


def test_a_bound_without_a_known_comparison_is_refused() -> None:
    with pytest.raises(ValueError, match="not '~'"):
        Bound.parse("~ 3")


_TWO_LIMITS = """
[[limit]]
what = "GET"
figure = "rate"
bound = ">= 0.9"
check = ">= 0.8"
[[limit]]
what = "start"
figure = "time"
bound = "<= 3"
"""


def test_the_check_judges_only_what_has_a_bound_for_it() -> None:
    limits = parse_limits(_TWO_LIMITS)
    assert [each.holds for each in judge(limits, {"rate": 0.85, "time": 4}, in_check=False)] == [False, False]
    assert [each.holds for each in judge(limits, {"rate": 0.85}, in_check=True)] == [True]


def test_the_long_form_does_not_judge_what_is_for_the_check() -> None:
    limits = parse_limits('[[limit]]\nwhat = "GET"\nfigure = "rate"\ncheck = ">= 0.8"')
    assert not judge(limits, {"rate": 0.5}, in_check=False)


_KNOWN_MISS = """
[[limit]]
what = "GET"
figure = "rate.get1"
bound = ">= 0.9"
[[limit]]
what = "cell SET"
figure = "rate.setCell"
bound = ">= 0.96"
known = "It waits for the device."
floor = ">= 0.6"
"""


@pytest.mark.parametrize(("figure", "verdict", "is_missed"), [
    (0.97, "holds", False), (0.95, "MISSED (known)", False), (0.6, "MISSED (known)", False), (0.59, "MISSED", True),
])
def test_a_known_miss_is_excused_down_to_its_floor(figure: float, verdict: str, is_missed: bool) -> None:
    set_cell = judge(parse_limits(_KNOWN_MISS), {"rate.get1": 1, "rate.setCell": figure}, in_check=False)[1]
    assert (set_cell.verdict, set_cell.is_missed) == (verdict, is_missed)


def test_a_miss_without_a_known_reason_is_a_miss() -> None:
    get = judge(parse_limits(_KNOWN_MISS), {"rate.get1": 0.89, "rate.setCell": 1}, in_check=False)[0]
    assert (get.verdict, get.is_missed) == ("MISSED", True)


@pytest.mark.parametrize("alone", ['known = "It waits."', 'floor = ">= 0.6"'])
def test_a_known_reason_and_a_floor_go_together(alone: str) -> None:
    with pytest.raises(ValueError, match="go together"):
        parse_limits(f'[[limit]]\nwhat = "GET"\nfigure = "rate"\nbound = ">= 0.9"\n{alone}')


def test_only_the_cell_set_against_bare_queue_is_a_known_miss() -> None:
    known = [each.figure for each in read_limits(_BENCH / "limits.toml") if each.known]
    assert known == ["rate.setCell", "processorRate.setCell"]


def test_a_known_miss_does_not_fail_the_run(
    results: Results, judged: list[Judged], tmp_path: Path, capsys: pytest.CaptureFixture[str],
) -> None:
    assert finish(results, judged, LONG, tmp_path) == 0
    assert "1 limits hold, 0 missed, 1 missed for a known reason" in capsys.readouterr().out


def test_any_other_miss_fails_the_run(results: Results, tmp_path: Path) -> None:
    below = parse_limits(_KNOWN_MISS.replace('floor = ">= 0.6"', 'floor = ">= 0.955"'))
    assert finish(results, judge(below, results.figures(), in_check=False), LONG, tmp_path) == 1


def test_a_run_leaves_its_figures_its_tables_and_its_pictures(
    results: Results, judged: list[Judged], tmp_path: Path,
) -> None:
    finish(results, judged, LONG, tmp_path)
    assert {path.name for path in tmp_path.iterdir()} == {
        "bench.json", "bench.md", "ratios.dat", "ratios.svg", "scales.dat", "scales.svg"}


def test_a_limit_whose_figure_is_missing_is_an_error() -> None:
    with pytest.raises(KeyError):
        judge(parse_limits(_TWO_LIMITS), {"rate": 0.95}, in_check=False)


def test_every_limit_has_its_figure_and_every_figure_its_limit(results: Results) -> None:
    limits = read_limits(_BENCH / "limits.toml")
    assert {each.figure for each in limits if each.bound or each.check_bound} == set(results.figures())


def test_the_check_judges_no_times_and_no_sizes() -> None:
    checked = [each.figure for each in read_limits(_BENCH / "limits.toml") if each.check_bound]
    assert checked
    assert not [figure for figure in checked if figure.startswith(("startUp", "memory"))]


def test_the_figures_are_those_of_the_agent_against_bare_queue(results: Results) -> None:
    figures = results.figures()
    assert figures["rate.getCell"] == 0.95
    assert figures["rate.setCell.againstExchanges"] == 1
    assert figures["processor.get1"] == pytest.approx(200 / 190)
    assert (figures["reads.setCell"], figures["writes.setCell"]) == (2, 1)
    assert (figures["memory.resident"], figures["memory.private"], figures["memory.growth"]) == (1000, 100, 8)
    assert figures["rate.get1.manyAgainstFew"] == 0.99
    assert (figures["startUp.first"], figures["startUp.last"]) == (pytest.approx(2), pytest.approx(1))


def test_the_file_has_every_figure_as_json(results: Results) -> None:
    judged = judge(read_limits(_BENCH / "limits.toml"), results.figures(), in_check=False)
    read = json.loads(json.dumps(as_structure(results, judged, "long")))
    assert read["form"] == "long"
    assert read["loads"]["get1"][AGENT]["requestsPerSecond"] == 190
    assert read["ratios"]["get1"] == {BARE_QUEUE: 0.95}
    assert read["ratios"]["setCell"] == {BARE_QUEUE: 0.95, BARE_EXCHANGES: 1}
    assert read["exchanges"]["setCell"][AGENT] == {"reads": 2, "writes": 1}
    assert read["queueRoundTripsPerSecond"] == 3
    assert read["scales"][0]["size"] == {"scalars": 50, "columns": 6}
    assert read["scales"][0]["walkSeconds"] == {"walkScalars": 0.51, "walkTable": 0.57}
    assert read["costOfOneMore"][AGENT]["startUpOfScalar"] == pytest.approx(0.002 / 40)
    assert read["transports"]["ratios"] == {"get1": 0.9, "get20": 0.9}
    assert read["transports"]["loads"]["get20"][AGENT_OVER_TCP]["requestsPerSecond"] == 135
    assert read["growth"][-1]["memory"]["anonymous"] == 1008
    assert {"what", "figure", "measured", "bound", "verdict", "known"} == set(read["limits"][0])


def test_the_terminal_shows_each_limit_with_its_verdict(results: Results) -> None:
    judged = judge(parse_limits(
        '[[limit]]\nwhat = "GET"\nfigure = "rate.get1"\nbound = ">= 0.96"\n'
        '[[limit]]\nwhat = "SET"\nfigure = "rate.setCell"\nbound = ">= 0.9"\n'), results.figures(), in_check=False)
    lines = [line.split() for line in show(results, judged).splitlines()]
    assert ["GET", "0.95", ">=", "0.96", "MISSED"] in lines
    assert ["SET", "0.95", ">=", "0.9", "holds"] in lines


def test_the_reason_of_a_known_miss_is_below_the_limits(results: Results, judged: list[Judged]) -> None:
    reason = "MISSED (known): cell SET, not to be below 0.6. It waits for the device."
    assert show(results, judged).endswith(reason)
    assert reason in page(results, judged)


def test_what_a_contestant_has_not_run_is_a_dash(results: Results, judged: list[Judged]) -> None:
    lines = [line.split() for line in show(results, judged).splitlines()]
    assert ["cell", "GET", "0.950", "-"] in lines
    assert ["cell", "SET", "0.950", "1.000"] in lines


def test_the_page_has_every_table_of_the_terminal(results: Results, judged: list[Judged]) -> None:
    titles = [line.removeprefix("### ") for line in page(results, judged).splitlines() if line.startswith("### ")]
    assert titles == [
        "What must hold", "Rates", "Rate of the agent against the others",
        "Rate of the agent by processor time against the others", "Processor time", "Exchanges with the device",
        "Memory and start-up", "Between the agent and its master agent", "Sizes", "What one more object costs"]


def test_one_more_object_costs_the_slope_from_the_fewest_to_the_most(results: Results) -> None:
    cost = results.cost_of_one_more(AGENT)
    assert cost.start_up_of_scalar == pytest.approx(0.002 / 40)
    assert cost.resident_of_scalar == 2
    assert (cost.walk_of_scalar, cost.walk_of_cell) == (pytest.approx(0.01), pytest.approx(0.01))


def test_tables_are_in_columns() -> None:
    assert Table("Rates", ["load", "rate"], [["GET", "1"], ["cell GET", "1000"]]).text() == (
        "load      rate\n--------------\nGET          1\ncell GET  1000")


def test_a_page_aligns_the_columns_as_the_terminal_does() -> None:
    assert Table("Rates", ["load", "rate"], [["GET", "1"]]).markdown() == (
        "### Rates\n\n| load | rate |\n| --- | ---: |\n| GET | 1 |")


@pytest.mark.parametrize(("number", "decimals", "text"), [
    (2.0, 3, "2"), (0.950, 3, "0.95"), (100.0, 0, "100"), (1.996, 2, "2"),
])
def test_a_plain_number_has_no_zeros_that_say_nothing(number: float, decimals: int, text: str) -> None:
    assert plain_number(number, decimals) == text


def test_calls_are_counted_for_each_request() -> None:
    summary = ("    calls syscall\n--------- ----------------\n     1000 recvmsg\n      501 select\n"
               "        3 brk\n--------- ----------------\n     1504 total\n")
    assert parse_counts(summary, requests=500) == {"recvmsg": 2, "select": 1.002}


def test_the_calls_of_a_process_are_shown_most_first() -> None:
    table = calls_table([Calls("getCell", AGENT, "tarnoSnmp", {"select": 1, "recvmsg": 2.5})])
    assert table.rows == [["cell GET", AGENT, "tarnoSnmp", "3.5", "recvmsg 2.5, select 1"]]


def test_the_ratio_picture_has_a_line_for_each_load(results: Results) -> None:
    lines = ratio_lines(results)
    assert lines[0] == "load,agent,bare+queue,bare+exchanges"
    assert lines[1] == "GET,0.9500,1.0000,NaN"
    assert lines[-1] == "cell SET,0.9500,1.0000,0.9667"
    assert len(lines) == 1 + len(LOADS)


def test_the_scale_picture_has_a_block_over_scalars_and_one_over_columns(results: Results) -> None:
    scalars, columns = scale_blocks(results)
    assert scalars.splitlines() == ["10 100.0 0.110000 0.020000 9000", "50 100.0 0.510000 0.022000 9080"]
    assert columns.splitlines() == ["2 100.0 0.250000 0.022000 9080", "6 100.0 0.570000 0.022000 9080"]


def test_each_plot_of_the_scale_picture_has_a_key_for_each_contestant(results: Results) -> None:
    assert scale_keys(results) == [
        "agent", "agent", "agent: 10000 µs per scalar", "agent: 10000 µs per cell", "agent: 50 µs per scalar", "agent",
        "agent: 2.0 KiB per scalar", "agent"]


# Alarms


def costs_of_alarms() -> AlarmCosts:
    return AlarmCosts(50, {
        WITHOUT: Cost(0, {"snmpd": 0.001, "agent": 0}), WATCHED: Cost(50, {"snmpd": 0.011, "agent": 0.005}),
        UNWATCHED: Cost(0, {"snmpd": 0.002, "agent": 0})}, {WATCHED: 0.8, UNWATCHED: 0.9})


def test_a_poll_costs_what_the_alarms_add() -> None:
    costs = costs_of_alarms()
    assert costs.of_a_poll("snmpd") == pytest.approx(0.01 / 50)
    assert costs.of_a_poll() == pytest.approx(0.015 / 50)


def test_the_table_of_alarms_has_each_program_and_the_cost_of_a_poll() -> None:
    assert alarms_table(costs_of_alarms()).rows == [
        [WITHOUT, "0", "1", "0"], [WATCHED, "50", "11", "5"], [UNWATCHED, "0", "2", "0"],
        ["one poll of one alarm, µs", "", "200", "100"]]


def test_the_summary_of_alarms_has_the_cost_of_a_minute_and_the_rates() -> None:
    text = summary(costs_of_alarms())
    assert "50 alarms take 15.0 ms of it each minute" in text
    assert f"{WATCHED} 0.800, {UNWATCHED} 0.900" in text


def test_every_alarm_watches_a_scalar_of_its_own() -> None:
    lines = Size(scalars=50, columns=6).source_with_alarms(2, 60, 7).splitlines()
    assert lines[2:] == [
        "  - {name: value0, oid: 1.1.1, object: 0x1000, type: integer,",
        "     alarms: [{name: high0, number: 1, condition: above, raise: 7, every: 60}]}",
        "  - {name: value1, oid: 1.1.2, object: 0x1001, type: integer,",
        "     alarms: [{name: high1, number: 2, condition: above, raise: 7, every: 60}]}"]
