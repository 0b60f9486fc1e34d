"""The faults of the table in docs/operations.md that a device application can have, with one that serves through the
device library: managers see the same, for as long. The library prevents all other faults of a device."""
from __future__ import annotations

from dataclasses import dataclass
from pathlib import Path

import pytest

from support.stack import Build
from test_fault_matrix import (  # noqa: F401
    background, incident_of, served_incident_of,
    test_a_device_that_is_always_too_late_for_the_master_loses_it,
    test_a_device_that_pauses_again_is_served_again,
    test_a_device_with_a_backlog_is_served_as_soon_as_it_is_heard,
    test_a_full_request_queue_makes_no_instance_until_there_is_room,
    test_a_message_that_stops_the_draining_is_taken_for_the_next_answer,
    test_a_read_that_died_with_its_device_fails_no_other,
    test_a_read_that_died_with_its_device_is_no_instance,
    test_a_refused_read_of_a_cell_shows_what_its_table_read_last,
    test_a_refused_read_of_a_scalar_is_no_instance,
    test_a_refused_write_is_done_for_the_manager,
    test_a_restarted_device_is_served_at_once,
    test_a_silent_device_makes_no_instance_and_is_waited_for_once,
    test_a_start_whose_request_died_with_the_device_goes_on_with_the_next_one,
    test_a_stopped_device_makes_no_instance_until_it_goes_on,
    test_a_write_that_its_device_got_before_it_died_is_not_repeated,
    test_an_answer_is_waited_for_three_seconds_and_never_taken_later,
    test_an_answer_queue_full_of_old_answers_is_emptied,
    test_objects_appear_when_the_device_is_started_after_the_agent,
    test_queues_removed_between_requests_are_made_again,
    test_queues_removed_under_a_request_fail_it,
)


@dataclass(frozen=True)
class LibraryBuild(Build):
    """With a device application of the library in place of the simulator."""

    @property
    def simulator(self) -> Path:
        return self.directory / "tests" / "integration" / "libraryDevice"


@pytest.fixture(scope="module")
def build(build: Build) -> LibraryBuild:
    return LibraryBuild(build.directory)
