"""The line at the top of the editor in each of its states, on a desktop that asks for dark windows."""

import test_right_patient
from bus import DarkDesktop


class OnADarkDesktop(test_right_patient.TheBand):

    scheme = "dark"

    def setUp(self):
        desktop = DarkDesktop()
        self.addCleanup(desktop.leave)
        super().setUp()
