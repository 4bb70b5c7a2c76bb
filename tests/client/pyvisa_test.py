"""The library under PyVISA's front end, against the emulator: open, query, time out, clear, close.

pyvisa_test.py LIBRARY EMULATOR
"""

import subprocess
import sys
import time
import unittest

import pyvisa
from pyvisa import constants, errors
from pyvisa.resources import MessageBasedResource

LIBRARY = sys.argv[1]
EMULATOR = sys.argv[2]


class PyVisa(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.emulator = subprocess.Popen(
            [EMULATOR, "--port", "0"], stdout=subprocess.PIPE, text=True
        )
        port = cls.emulator.stdout.readline().rsplit(":", 1)[1].strip()
        cls.resource = f"TCPIP::127.0.0.1::{port}::SOCKET"

    @classmethod
    def tearDownClass(cls):
        cls.emulator.terminate()
        assert cls.emulator.wait(10) == 0
        cls.emulator.stdout.close()

    def setUp(self):
        self.manager = pyvisa.ResourceManager(LIBRARY)
        self.instrument = self.manager.open_resource(
            self.resource, resource_pyclass=MessageBasedResource
        )
        self.instrument.set_visa_attribute(
            constants.ResourceAttribute.termchar_enabled, constants.VI_TRUE
        )
        self.instrument.timeout = 5000
        self.instrument.write_termination = "\n"
        # No read_termination: that sets VI_ATTR_TERMCHAR, and the character is always a line feed.

    def tearDown(self):
        self.instrument.close()

    def test_identity(self):
        self.assertRegex(self.instrument.query("*IDN?"), r"^Orvane,Emulator,0,\d+\.\d+\.\d+\n$")

    def test_reading_is_a_number(self):
        self.assertLess(abs(float(self.instrument.query("MEAS:VOLT?"))), 10)

    def test_attributes(self):
        self.assertEqual(self.instrument.timeout, 5000)
        self.assertEqual(
            self.instrument.get_visa_attribute(constants.ResourceAttribute.interface_type),
            constants.InterfaceType.asrl,
        )

    def test_binary_block(self):
        self.instrument.write("CURV:LENG 300000")
        self.instrument.set_visa_attribute(
            constants.ResourceAttribute.termchar_enabled, constants.VI_FALSE
        )
        self.instrument.write("CURV?")
        self.assertEqual(self.instrument.read_bytes(8, break_on_termchar=False), b"#6300000")
        data = self.instrument.read_bytes(300001, break_on_termchar=False)
        self.assertEqual(data[:256], bytes(range(256)))
        self.assertEqual(data[-1:], b"\n")

    def test_silence_times_out_and_clearing_helps(self):
        self.instrument.timeout = 300
        start = time.monotonic()
        with self.assertRaises(errors.VisaIOError) as raised:
            self.instrument.read()
        self.assertEqual(raised.exception.error_code, constants.StatusCode.error_timeout)
        self.assertGreaterEqual(time.monotonic() - start, 0.29)
        self.instrument.clear()
        self.instrument.timeout = 5000
        self.assertIn("Emulator", self.instrument.query("*IDN?"))

    def test_closed_session_is_unknown(self):
        session = self.instrument.session
        self.instrument.close()
        with self.assertRaises(errors.VisaIOError) as raised:
            self.manager.visalib.write(session, b"*IDN?\n")
        self.assertEqual(raised.exception.error_code, constants.StatusCode.error_invalid_object)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
