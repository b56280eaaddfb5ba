"""read and write: registers by bytes and by type."""
from harness import FAILED, WRONG_USAGE, ToolTest, producer

RUNS_BESIDE_OTHERS = True


class Reading(ToolTest):
    def read(self, *arguments):
        return self.done("--cti", producer("lonely"), "read", "system", *arguments).out

    def test_a_dump(self):
        self.assertEqual(self.done("read", "port:10001", "0x140:20").out,
                         "00000140  47 36 34 30 4d 00 00 00 00 00 00 00 00 00 00 00  |G640M...........|\n"
                         "00000150  00 00 00 00                                      |....|\n")

    def test_four_bytes_by_default(self):
        self.assertEqual(self.done("read", "port:10001", "1024").out,
                         "00000400  80 02 00 00                                      |....|\n")

    def test_numbers_by_type(self):
        for arguments, value in ((("0xFFFFFFFE", "--u32"), "4294967294"),
                                 (("0xFFFFFFFE", "--i32"), "-2"),
                                 (("0xFFFFFFFFFFFFFFFE", "--u64"), "18446744073709551614"),
                                 (("0xfffffffffffffffe", "--i64"), "-2"),
                                 (("0x40490FDB", "--f32"), "3.1415927"),
                                 (("0x3FB999999999999A", "--f64"), "0.1"),
                                 (("0xC0490FDB:4", "--f32"), "-3.1415927"),
                                 (("0x4142:8", "--string"), "BA")):
            with self.subTest(arguments=arguments):
                self.assertEqual(self.read(*arguments), value + "\n")

    def test_a_text(self):
        self.assertEqual(self.done("read", "port:20001", "0x200", "--string").out, "Microscope\n")
        self.assertEqual(self.done("read", "port:20001", "0x200:5", "--string").out, "Micro\n")

    def test_several_at_once(self):
        self.assertEqual(self.done("read", "port:10001", "0x400", "0x404", "0x300", "--u32").out, "640\n480\n640\n")

    def test_a_stack_that_breaks_off(self):
        answer = self.refused(FAILED, "note: 1 of 3 registers were accessed before the call failed\n"
                              "norveltl: GCReadPortStacked failed: GC_ERR_INVALID_ADDRESS (-1015): "
                              '"Invalid Address"\n', "read", "port:10001", "0x400", "0x99999", "0x404")
        self.assertEqual(answer.out, "")

    def test_no_register(self):
        self.refused(FAILED, 'norveltl: GCReadPort failed: GC_ERR_INVALID_ADDRESS (-1015): "Invalid Address"\n',
                     "read", "port:10001", "0x99999")

    def test_fewer_bytes_than_the_type_has(self):
        self.refused(FAILED, "norveltl: the port gave only 2 bytes\n",
                     "--cti", producer("lonely"), "read", "system", "0xBAD", "--u32")
        self.assertEqual(self.read("0xBAD"), "00000bad  ad 0b" + " " * 44 + "|..|\n")

    def test_an_older_error_is_told_from_this_one(self):
        self.refused(FAILED, "norveltl: GCReadPort failed: GC_ERR_IO (-1010); the last recorded error is "
                     'GC_ERR_ACCESS_DENIED (-1005): "Nobody is at home."\n'
                     '  Check the camera\'s cable and power, then see what "norveltl list" finds.\n',
                     "--cti", producer("lonely"), "read", "system", "0xDEAD")

    def test_wrong_input(self):
        for arguments, error in ((("x",), '"x" is no address or length'),
                                 (("0x",), '"0x" is no address or length'),
                                 (("-4",), None),
                                 (("0x400:",), '"" is no address or length'),
                                 (("0x400:x",), '"x" is no address or length'),
                                 (("0x400:0",), '"0x400:0" names a length that does not suit'),
                                 (("0x400:67108865",), '"0x400:67108865" names a length that does not suit'),
                                 (("0x400:8", "--u32"), '"0x400:8" names a length that does not suit'),
                                 (("99999999999999999999",), '"99999999999999999999" is no address or length')):
            with self.subTest(arguments=arguments):
                answer = self.run_tool("read", "port:10001", *arguments)
                self.assertEqual((answer.code, answer.out), (WRONG_USAGE, ""))
                if error:
                    self.assertEqual(answer.err, f"norveltl: {error}\n")


class Writing(ToolTest):
    def write(self, *arguments):
        return self.done("--cti", producer("lonely"), "write", "system", *arguments).out

    def test_bytes_and_types(self):
        for arguments, bytes_ in ((("0x10=0aFF00",), "10: 0a ff 00"),
                                  (("16=1", "--u32"), "10: 01 00 00 00"),
                                  (("0x10=0xFFFFFFFF", "--u32"), "10: ff ff ff ff"),
                                  (("0x10=-2", "--i32"), "10: fe ff ff ff"),
                                  (("0x10=0x0102030405060708", "--u64"), "10: 08 07 06 05 04 03 02 01"),
                                  (("0x10=-9223372036854775808", "--i64"), "10: 00 00 00 00 00 00 00 80"),
                                  (("0x10=-3.1415927", "--f32"), "10: db 0f 49 c0"),
                                  (("0x10=0.1", "--f64"), "10: 9a 99 99 99 99 99 b9 3f"),
                                  (("0xFFFFFFFFFF=a = b", "--string"), "ffffffffff: 61 20 3d 20 62 00"),
                                  (("0x10=λ", "--string"), "10: ce bb 00"),
                                  (("0x10=", "--string"), "10: 00")):
            with self.subTest(arguments=arguments):
                self.assertEqual(self.write(*arguments), bytes_ + "\n")

    def test_into_a_camera(self):
        self.done("write", "port:10001", "0x400=320", "0x404=240", "--u32")
        self.done("write", "port:10001", "0x200=Line 2 left", "--string")

    def test_what_the_camera_refuses(self):
        self.refused(FAILED, 'norveltl: GCWritePort failed: GC_ERR_INVALID_PARAMETER (-1009): "Invalid parameter"\n',
                     "write", "port:10001", "0x400=3", "--u32")
        self.refused(FAILED, "note: 1 of 2 registers were accessed before the call failed\n"
                     "norveltl: GCWritePortStacked failed: GC_ERR_ACCESS_DENIED (-1005): "
                     '"Register 0x300 is not readable."\n'
                     "  The register may be read-only or write-only, or locked at the moment.\n",
                     "write", "port:10001", "0x400=320", "0x300=2", "--u32")

    def test_wrong_input(self):
        for arguments, error in ((("0x400",), '"0x400" is not of the form ADDRESS=VALUE'),
                                 (("=00",), '"" is no address or length'),
                                 (("0x400=",), '"" is no sequence of bytes, two hexadecimal digits each'),
                                 (("0x400=abc",), '"abc" is no sequence of bytes, two hexadecimal digits each'),
                                 (("0x400=zz",), '"zz" is no sequence of bytes, two hexadecimal digits each'),
                                 (("0x400=-1", "--u32"), '"-1" is no value of that type'),
                                 (("0x400=4294967296", "--u32"), '"4294967296" is no value of that type'),
                                 (("0x400=2147483648", "--i32"), '"2147483648" is no value of that type'),
                                 (("0x400=1.5", "--u64"), '"1.5" is no value of that type'),
                                 (("0x400=1,5", "--f64"), '"1,5" is no value of that type'),
                                 (("0x400=", "--i64"), '"" is no value of that type')):
            with self.subTest(arguments=arguments):
                answer = self.refused(WRONG_USAGE, f"norveltl: {error}\n", "write", "port:10001", *arguments)
                self.assertEqual(answer.out, "")
