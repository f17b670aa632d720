"""zebdump from outside: zebdump_test.py ZEBDUMP MANUAL. The records are laid out here by hand."""

import itertools
import json
import os
import pty
import random
import re
import struct
import subprocess
import sys
import tempfile
import unittest

ZEBDUMP, MANUAL = sys.argv[1:3]
ENVIRONMENT = {name: value for name, value in os.environ.items()
               if name not in ('NO_COLOR', 'TERM', 'ZBCOMMON_TRACE')}


def run(*arguments, given=b''):
    return subprocess.run([ZEBDUMP, *arguments], input=given, capture_output=True, timeout=60,
                          env=ENVIRONMENT, check=False)


def texts(*fields):
    return b''.join(text.encode().ljust(width, pad) for text, width, pad in fields)


def description(form, encoding=546, character_set=0):
    return struct.pack('<ii', encoding, character_set) + form.encode().ljust(8)


def descriptor(form, encoding=546, character_set=0):
    """The defaults of a new message's descriptor, and this description."""
    return (b'MD  ' + struct.pack('<iiiii', 2, 0, 8, -1, 0)
            + description(form, encoding, character_set)
            + struct.pack('<ii', -1, 2) + bytes(48) + bytes(4) + bytes(108) + bytes(32) + bytes(32)
            + bytes(4) + bytes(28 + 8 + 8 + 4) + bytes(24) + struct.pack('<iiii', 1, 0, 0, -1))


def dead_letter(*follows, queue=''):
    return (b'DLH ' + struct.pack('<ii', 1, 0) + texts((queue, 48, b'\0'), ('', 48, b'\0'))
            + description(*follows) + bytes(4 + 28 + 8 + 8))


def tpmx(*follows, version=2, transaction=''):
    length = {1: 164}.get(version, 180)
    record = (b'TIH ' + struct.pack('<ii', version, length) + description(*follows)
              + struct.pack('<iiiiiiiiiiii', 0, 0, 0, 0, 273, -2, 1, -1, 0, 0, 0, 0) + bytes(8)
              + b' ' * 40 + transaction.encode().ljust(4) + b' ' * 36 + bytes(16))
    return record[:length]


def hsx(*follows):
    return (b'HIH ' + struct.pack('<ii', 1, 84) + description(*follows) + bytes(4) + b' ' * 32
            + bytes(16) + b' 0C ')


def work(*follows, service='', token=bytes(16)):
    return (b'WIH ' + struct.pack('<ii', 1, 120) + description(*follows) + bytes(4)
            + service.encode().ljust(32) + b' ' * 8 + token + bytes(32))


def reference(*follows, parts=(b'', b'', b'', b''), length=None, places=None):
    ends = list(itertools.accumulate(map(len, parts), initial=108))
    words = places or [word for part, begin in zip(parts, ends) for word in (len(part), begin)]
    return (b'RMH ' + struct.pack('<ii', 1, ends[-1] if length is None else length)
            + description(*follows) + struct.pack('<i', 1) + bytes(8 + 24)
            + struct.pack('<8i', *words) + bytes(12) + b''.join(parts))


def trigger(queue=''):
    return (b'TM  ' + struct.pack('<i', 1) + texts((queue, 48, b'\0'), ('', 48 + 64, b'\0'))
            + bytes(4 + 256 + 128 + 128))


ORDER = b'7 umbrellas.'
CHAIN = (descriptor('ZBDEAD') + dead_letter('ZBTPMX', 546, 0, queue='ORDERS.EUROPE')
         + tpmx('ZBHSX', transaction='PAY1') + hsx('ZBHWIH') + work('ZBHREF', service='SHOP')
         + reference('ORDER', 273, 500, parts=(b'ab', b'cde', b'', b'f')) + ORDER)


class Fields:
    """What the JSON form says about the records, by record and field."""

    def __init__(self, output):
        self.whole = json.loads(output)
        self.records = self.whole['records']
        self.data = self.whole['data']
        self.refused = self.whole['refused']

    def names(self):
        return [record['record'] for record in self.records]

    def field(self, record, name):
        fields = self.records[self.names().index(record)]['fields']
        return next(field for field in fields if field['name'] == name)


class Showing(unittest.TestCase):
    def test_layouts_by_hand_are_of_the_right_length(self):
        self.assertEqual([364, 172, 180, 164, 84, 120, 114, 684],
                         [len(descriptor('')), len(dead_letter('')), len(tpmx('')),
                          len(tpmx('', version=1)), len(hsx('')), len(work('')),
                          len(reference('', parts=(b'ab', b'cde', b'', b'f'))), len(trigger())])

    def test_every_header_of_a_chain(self):
        result = run('--json', given=CHAIN)
        self.assertEqual((0, b''), (result.returncode, result.stderr))
        shown = Fields(result.stdout)
        self.assertEqual(['ZBMD', 'ZBDLH', 'ZBTIH', 'ZBHIH', 'ZBWIH', 'ZBRMH'], shown.names())
        self.assertEqual([0, 364, 536, 716, 800, 920], [row['at'] for row in shown.records])
        for record, name, offset, value in [
                ('ZBMD', 'format', 32, 'ZBDEAD'),
                ('ZBMD', 'descriptorWord360', 360, -1),
                ('ZBDLH', 'destinationQueueName', 12, 'ORDERS.EUROPE'),
                ('ZBDLH', 'format', 116, 'ZBTPMX'),
                ('ZBTIH', 'UOWControl', 44, 273),
                ('ZBTIH', 'transactionIdentifier', 124, 'PAY1'),
                ('ZBHIH', 'tailByte3', 82, 'C'),
                ('ZBWIH', 'serviceName', 32, 'SHOP'),
                ('ZBRMH', 'structureLength', 8, 114),
                ('ZBRMH', 'characterSet', 16, 500)]:
            with self.subTest(record=record, name=name):
                field = shown.field(record, name)
                self.assertEqual((offset, value), (field['offset'], field['value']))
        self.assertEqual([('sourceEnvironment', 108, 'ab'), ('sourceName', 110, 'cde'),
                          ('destinationName', 113, 'f')],
                         [(text['name'], text['offset'], text['text'])
                          for text in shown.records[-1]['texts']])
        self.assertEqual((1034, 'ORDER   ', 273, 500, ORDER.hex()),
                         tuple(shown.data[name]
                               for name in ('at', 'format', 'encoding', 'characterSet', 'hex')))

    def test_text_form_has_offset_name_and_value(self):
        lines = run(given=CHAIN).stdout.decode().splitlines()
        for pattern in [r'ZBDLH +dead letter header, at 364, 172 bytes',
                        r' +12 +destinationQueueName +"ORDERS.EUROPE" \+ 35 zero bytes',
                        r' +116 +format +"ZBTPMX" \+ 2 blanks',
                        r' +72 +messageToken +' + '00' * 16,
                        r' +48 +getWaitInterval +-2',
                        r' +110 +sourceName +"cde"',
                        r' +0000040a +37 20 75 6d 62 72 65 6c 6c 61 73 2e +7 umbrellas\.']:
            with self.subTest(pattern=pattern):
                self.assertTrue(any(re.fullmatch(pattern, line) for line in lines))

    def test_what_is_no_header(self):
        cases = [('ZBTRIG', trigger('Q') + b'more', 'behind trigger', 684, b'more'),
                 ('ZBTRIG', trigger('Q'), 'behind trigger', 684, b''),
                 ('ZBSTR', b'a text', 'text', 0, b'a text'),
                 ('', b'\0\1\2', 'bytes', 0, b'\0\1\2'),
                 ('ORDER', b'', 'application', 0, b''),
                 ('ZBTPMX', tpmx('ORDER', version=1) + ORDER, 'application', 164, ORDER)]
        for form, data, kind, at, rest in cases:
            for with_descriptor in (False, True):
                with self.subTest(form=form, kind=kind, with_descriptor=with_descriptor):
                    result = (run('--json', given=descriptor(form) + data) if with_descriptor
                              else run('--json', '--format', form, given=data))
                    self.assertEqual(0, result.returncode)
                    shown = Fields(result.stdout).data
                    self.assertEqual((kind, at + 364 * with_descriptor, rest.hex()),
                                     (shown['kind'], shown['at'], shown['hex']))

    def test_a_file_and_standard_input_are_shown_alike(self):
        with tempfile.NamedTemporaryFile() as file:
            file.write(CHAIN)
            file.flush()
            self.assertEqual(run(given=CHAIN).stdout, run(file.name).stdout)
        self.assertEqual(run(given=CHAIN).stdout, run('-', given=CHAIN).stdout)

    def test_long_data_are_cut_unless_all_is_asked_for(self):
        data = bytes(range(256)) * 20
        for arguments, shown in [((), 4096), (('--all',), 5120)]:
            with self.subTest(arguments=arguments):
                result = run('--format', 'ORDER', *arguments, given=data)
                rows = re.findall(rb'^  [0-9a-f]{8} ', result.stdout, re.MULTILINE)
                self.assertEqual((shown // 16, shown < 5120),
                                 (len(rows), b'1024 bytes more' in result.stdout))
                seen = Fields(run('--format', 'ORDER', '--json', *arguments, given=data).stdout).data
                self.assertEqual((5120, shown, data[:shown].hex()),
                                 (seen['length'], seen['shown'], seen['hex']))

    def test_nothing_of_a_message_reaches_the_terminal_as_a_command(self):
        evil = '\x1b]0;x\x07"'
        output = run(given=descriptor('ZBDEAD') + dead_letter('\x1b[2J', queue=evil)
                     + evil.encode() + b'\x9b\xff').stdout
        self.assertEqual([], [byte for byte in output if byte not in range(32, 127) and byte != 10])
        self.assertIn(rb'"\x1b]0;x\x07\""', output)

    def test_json_keeps_every_byte(self):
        queue = bytes(range(1, 32)) + bytes([127, 128, 200, 255])
        record = dead_letter('ORDER')
        record = record[:12] + queue.ljust(48, b'\0') + record[60:]
        shown = Fields(run('--json', '--format', 'ZBDEAD', given=record).stdout)
        field = shown.field('ZBDLH', 'destinationQueueName')
        self.assertEqual(queue.decode('latin-1'), field['value'])
        self.assertEqual(queue.hex() + '00' * 13, field['hex'])


DEAD = descriptor('ZBDEAD') + dead_letter('ORDER') + ORDER
STRUCTURE_ID, ENCODING, DATA, LENGTH, NOT_AUTOMATIC, VERSION, FORMAT = (
    (6107, 'ZBRC_STRUCTURE_ID_ERROR'), (6106, 'ZBRC_ENCODING_ERROR'),
    (6114, 'ZBRC_INSUFFICIENT_DATA'), (6123, 'ZBRC_STRUCTURE_LENGTH_ERROR'),
    (6112, 'ZBRC_BUFFER_NOT_AUTOMATIC'), (6128, 'ZBRC_WRONG_VERSION'),
    (6119, 'ZBRC_INCONSISTENT_FORMAT'))


def referring(**how):
    return descriptor('ZBHREF') + reference('ORDER', **how)


# What is wrong, the input, the first byte refused, the code, and the last field that is still shown.
DAMAGED = [
    ('nothing at all', b'', 0, DATA, None),
    ('a descriptor cut in its id', DEAD[:3], 3, DATA, ('ZBMD', 'structureId')),
    ('a descriptor cut in a field', DEAD[:102], 102, DATA, ('ZBMD', 'replyToQueueName')),
    ('no descriptor', b'MDX ' + DEAD[4:], 2, STRUCTURE_ID, ('ZBMD', 'descriptorWord360')),
    ('no data', DEAD[:364], 364, STRUCTURE_ID, ('ZBMD', 'descriptorWord360')),
    ('less than an id', DEAD[:367], 367, STRUCTURE_ID, ('ZBDLH', 'structureId')),
    ('another id', DEAD[:365] + b'X' + DEAD[366:], 365, STRUCTURE_ID, ('ZBDLH', 'putTime')),
    ('a cut header', DEAD[:535], 535, DATA, ('ZBDLH', 'putTime')),
    ('a header cut between fields', DEAD[:472], 472, DATA,
     ('ZBDLH', 'destinationQueueManagerName')),
    ('encoding 273 in the descriptor', descriptor('ZBDEAD', 273) + DEAD[364:], 24, ENCODING,
     ('ZBDLH', 'putTime')),
    ('encoding 546 with a high byte', descriptor('ZBDEAD', 0x01000222) + DEAD[364:], 27, ENCODING,
     ('ZBDLH', 'putTime')),
    ('encoding in a header', descriptor('ZBDEAD') + dead_letter('ZBHSX', 0x0322) + hsx('ORDER'),
     364 + 108 + 1, ENCODING, ('ZBHIH', 'tailByte4')),
    ('the second header', descriptor('ZBDEAD') + dead_letter('ZBHWIH') + work('ORDER')[:50],
     364 + 172 + 50, DATA, ('ZBWIH', 'serviceName')),
    ('version 3', descriptor('ZBTPMX') + tpmx('ORDER', version=3), 368, VERSION,
     ('ZBTIH', 'spareText5')),
    ('version 257', descriptor('ZBTPMX') + tpmx('ORDER', version=257), 369, VERSION,
     ('ZBTIH', 'spareText5')),
    ('version 2 with the bytes of 1', descriptor('ZBTPMX') + tpmx('ORDER')[:164], 528, DATA,
     ('ZBTIH', 'spareText5')),
    ('an id and no version', descriptor('ZBTPMX') + b'TIH \2', 369, DATA, ('ZBTIH', 'version')),
    ('a cut reference', referring()[:400], 400, DATA, ('ZBRMH', 'referenceType')),
    ('cut in a text', referring(parts=(b'ab', b'cde', b'', b'f'))[:-2], 364 + 112, DATA,
     ('ZBRMH', 'tailWord3')),
    ('a text from before the record', referring(places=[1, -1, 0, 0, 0, 0, 0, 0]), 364 + 68, DATA,
     ('ZBRMH', 'tailWord3')),
    ('a text from far behind', referring(places=[0, 0, 2**31 - 1, 2**31 - 1, 0, 0, 0, 0]), 364 + 76,
     DATA, ('ZBRMH', 'tailWord3')),
    ('a text longer than the data', referring(places=[0, 0, 0, 0, 0, 0, 9, 100]), 364 + 88, DATA,
     ('ZBRMH', 'tailWord3')),
    ('shorter than its texts', referring(parts=(b'abc', b'', b'', b''), length=110), 364 + 8, LENGTH,
     ('ZBRMH', 'tailWord3')),
    ('shorter than its fixed part', referring(length=107), 364 + 8, LENGTH, ('ZBRMH', 'tailWord3')),
    ('longer than the data', referring(length=2**31 - 1), 364 + 108, NOT_AUTOMATIC,
     ('ZBRMH', 'tailWord3')),
    ('a cut trigger', descriptor('ZBTRIG') + trigger()[:600], 964, DATA, ('ZBTM', 'userData')),
]


class Refusing(unittest.TestCase):
    def test_damaged_messages(self):
        for what, data, at, (code, name), last in DAMAGED:
            with self.subTest(what=what):
                result = run('--json', given=data)
                shown = Fields(result.stdout)
                self.assertEqual((1, at, code, name, 2),
                                 (result.returncode, shown.refused['at'],
                                  shown.refused['reasonCode'], shown.refused['name'],
                                  shown.refused['completionCode']))
                fields = [(record['record'], field['name']) for record in shown.records
                          for field in record['fields']]
                self.assertEqual(last, fields[-1] if fields else None)
                words = f'byte {at} refused: {code} {name}'
                self.assertIn(words, result.stderr.decode())

                text = run(given=data)
                self.assertEqual(1, text.returncode)
                self.assertIn(words, text.stdout.decode())
                marked = f'<- byte {at} refused' in text.stdout.decode()
                self.assertEqual(at < len(data), marked)

    def test_data_alone(self):
        for data, at, (code, name) in [(DEAD[364:400], 36, DATA), (b'DLX', 2, STRUCTURE_ID)]:
            with self.subTest(data=data):
                result = run('--format', 'ZBDEAD', given=data)
                self.assertEqual(1, result.returncode)
                self.assertIn(f'byte {at} refused: {code} {name}', result.stderr.decode())

    def test_what_is_not_read_is_shown_as_bytes(self):
        shown = Fields(run('--json', given=DEAD[:480]).stdout).data
        self.assertEqual(('not read', 364, DEAD[364:480].hex()),
                         (shown['kind'], shown['at'], shown['hex']))

    def test_no_cut_is_taken_for_a_whole_message(self):
        end_of_headers = len(CHAIN) - len(ORDER)
        for length in [*range(0, end_of_headers, 37), end_of_headers - 1, end_of_headers]:
            with self.subTest(length=length):
                self.assertEqual(0 if length == end_of_headers else 1,
                                 run(given=CHAIN[:length]).returncode)

    def test_any_bytes_end_in_an_answer(self):
        chance = random.Random(20260501)
        for turn in range(150):
            with self.subTest(turn=turn):
                data = bytearray(CHAIN[:chance.randrange(364, len(CHAIN) + 1)])
                for _ in range(chance.choice((1, 3, 30))):
                    if chance.random() < 0.5:
                        at = 4 * chance.randrange(len(data) // 4)
                        data[at:at + 4] = chance.choice((bytes(4), b'\xff' * 4, b'\xff\xff\xff\x7f',
                                                         b'\0\0\0\x80', b'\x6c\0\0\0'))
                    else:
                        data[chance.randrange(len(data))] = chance.randrange(256)
                if turn % 10 == 0:
                    data = chance.randbytes(chance.randrange(2000))
                result = run('--json', given=bytes(data))
                self.assertIn(result.returncode, (0, 1))
                self.assertEqual(result.returncode, Fields(result.stdout).refused is not None)
                self.assertIn(run(given=bytes(data)).returncode, (result.returncode,))
                self.assertIn(run('--strip', given=bytes(data)).returncode, (0, 1))


# A header's name, what is set in it, and the record that stands in front then.
HEADERS = [
    ('dlh', {}, 'ZBDEAD', dead_letter),
    ('dlh', {'destinationQueueName': 'ORDERS.EUROPE'}, 'ZBDEAD',
     lambda *follows: dead_letter(*follows, queue='ORDERS.EUROPE')),
    ('tih', {'transactionIdentifier': 'PAY1'}, 'ZBTPMX',
     lambda *follows: tpmx(*follows, transaction='PAY1')),
    ('tih', {'version': '1'}, 'ZBTPMX', lambda *follows: tpmx(*follows, version=1)),
    ('hih', {}, 'ZBHSX', hsx),
    ('wih', {'serviceName': 'a=b', 'messageToken': '00ff' * 8}, 'ZBHWIH',
     lambda *follows: work(*follows, service='a=b', token=b'\0\xff' * 8)),
    ('rfh', {'sourceName': 'cde', 'sourceEnvironment': 'ab', 'destinationName': 'f'}, 'ZBHREF',
     lambda *follows: reference(*follows, parts=(b'ab', b'cde', b'', b'f'))),
]


class Rewriting(unittest.TestCase):
    def test_wrap_and_strip(self):
        for header, values, form, record in HEADERS:
            for data in (ORDER, b'', bytes(range(256)) * 5):
                with self.subTest(header=header, values=values, length=len(data)):
                    settings = [part for name, value in values.items()
                                for part in ('--set', f'{name}={value}')]
                    message = descriptor('ORDER', 273, 500) + data
                    wrapped = run('--wrap', header, *settings, given=message)
                    self.assertEqual((0, b''), (wrapped.returncode, wrapped.stderr))
                    self.assertEqual(descriptor(form) + record('ORDER', 273, 500) + data,
                                     wrapped.stdout)
                    stripped = run('--strip', given=wrapped.stdout)
                    self.assertEqual((0, b'', message),
                                     (stripped.returncode, stripped.stderr, stripped.stdout))

    def test_data_alone_say_what_they_are(self):
        wrapped = run('--wrap', 'hih', '--format', 'ORDER', given=ORDER)
        self.assertEqual((0, hsx('ORDER') + ORDER), (wrapped.returncode, wrapped.stdout))
        self.assertIn(b'format "ZBHSX   ", encoding 546, character set 0', wrapped.stderr)
        stripped = run('--strip', '--format', 'ZBHSX', given=hsx('ORDER', 273, 500) + ORDER)
        self.assertEqual((0, ORDER), (stripped.returncode, stripped.stdout))
        self.assertIn(b'format "ORDER   ", encoding 273, character set 500', stripped.stderr)

    def test_one_header_at_a_time(self):
        message = CHAIN
        forms = ['ZBTPMX', 'ZBHSX', 'ZBHWIH', 'ZBHREF', 'ORDER']
        for form, length in zip(forms, (172, 180, 84, 120, 114)):
            encoding = (273, 500) if form == 'ORDER' else (546, 0)
            expected = descriptor(form, *encoding) + message[364 + length:]
            message = run('--strip', given=message).stdout
            self.assertEqual(expected, message)

    def test_a_record_longer_than_its_texts_goes_whole(self):
        record = reference('ORDER', parts=(b'ab', b'', b'', b''), length=117) + b'between'
        self.assertEqual(descriptor('ORDER') + ORDER,
                         run('--strip', given=descriptor('ZBHREF') + record + ORDER).stdout)

    def test_nothing_is_written_of_what_is_refused(self):
        cases = [(('--strip',), data, f'byte {at} refused: {code[0]} {code[1]}')
                 for what, data, at, code, _ in DAMAGED
                 if what not in ('encoding in a header', 'the second header', 'a cut trigger')]
        cases += [(('--strip',), descriptor(form) + data, '{} {}'.format(*FORMAT))
                  for form, data in (('ORDER', ORDER), ('ZBTRIG', trigger()), ('ZBSTR', b''))]
        cases += [(('--wrap', 'dlh'), DEAD[:300], 'byte 300 refused: {} {}'.format(*DATA))]
        for arguments, data, words in cases:
            with self.subTest(arguments=arguments, words=words):
                result = run(*arguments, given=data)
                self.assertEqual((1, b''), (result.returncode, result.stdout))
                self.assertIn(words, result.stderr.decode())

    def test_values_that_cannot_be_set(self):
        for header, setting, words in [
                ('dlh', 'destinationQueueName=' + 'x' * 49, 'at most 48'),
                ('dlh', 'sourceName=x', 'destinationQueueName'),
                ('dlh', 'deadLetterWord8=2147483648', '32 bits'),
                ('dlh', 'deadLetterWord8=1x', '32 bits'),
                ('dlh', 'deadLetterWord8=', '32 bits'),
                ('dlh', 'structureId=DLX', 'ZBRC_STRUCTURE_ID_ERROR'),
                ('dlh', 'format=OTHER', 'follows from'),
                ('dlh', 'encoding=1', 'follows from'),
                ('dlh', 'x', 'field=value'),
                ('dlh', '=x', 'field=value'),
                ('tih', 'version=3', 'ZBRC_WRONG_VERSION'),
                ('hih', 'tailByte1=', '1 characters'),
                ('rfh', 'structureLength=200', 'follows from'),
                ('rfh', 'sourceNameLength=1', 'ZBRC_INSUFFICIENT_DATA'),
                ('wih', 'messageToken=00', '32 hexadecimal'),
                ('wih', 'messageToken=' + '0x' * 16, '32 hexadecimal')]:
            with self.subTest(header=header, setting=setting):
                result = run('--wrap', header, '--set', setting, '--format', 'ORDER', given=ORDER)
                self.assertEqual((2, b''), (result.returncode, result.stdout))
                self.assertIn(words, result.stderr.decode())

    def test_each_field_once(self):
        result = run('--wrap', 'dlh', '--set', 'putDate=1', '--set', 'putDate=1', '--format', 'ORDER')
        self.assertEqual((2, b''), (result.returncode, result.stdout))
        self.assertIn(b'twice', result.stderr)


class Calling(unittest.TestCase):
    def test_mistakes_in_the_arguments(self):
        for arguments in [('--nothing',), ('--format', 'NINECHARS'), ('--wrap', 'xyz'),
                          ('--set', 'a=b'), ('--strip', '--json'), ('--strip', '--wrap', 'dlh'),
                          ('--wrap', 'dlh', '--json'), ('--color', 'sometimes'), ('a', 'b'),
                          ('/nonexistent/file',), ('/',)]:
            with self.subTest(arguments=arguments):
                result = run(*arguments)
                self.assertEqual((2, b''), (result.returncode, result.stdout))
                self.assertNotEqual(b'', result.stderr)

    def test_output_that_cannot_be_written(self):
        with open('/dev/full', 'wb') as full:
            for arguments in [(), ('--json',), ('--strip',)]:
                with self.subTest(arguments=arguments):
                    result = subprocess.run([ZEBDUMP, *arguments], input=DEAD, stdout=full,
                                            stderr=subprocess.PIPE, env=ENVIRONMENT, check=False)
                    self.assertEqual(2, result.returncode)
                    self.assertIn(b'standard output', result.stderr)

    def test_help_and_version(self):
        for option, words in [('--help', b'--strip'), ('--version', b'zebdump ')]:
            result = run(option)
            self.assertEqual((0, b''), (result.returncode, result.stderr))
            self.assertIn(words, result.stdout)

    def test_help_and_manual_tell_of_the_same_options(self):
        told = set(re.findall(r'--[a-z]+', run('--help').stdout.decode()))
        with open(MANUAL, encoding='utf-8') as manual:
            written = set(re.findall(r'--[a-z]+', manual.read().replace('\\-', '-')))
        self.assertIn('--strip', told)
        self.assertEqual(told, written)

    def test_colours(self):
        for terminal, arguments, environment, coloured in [
                (True, (), {}, True),
                (False, (), {}, False),
                (True, (), {'NO_COLOR': '1'}, False),
                (True, (), {'NO_COLOR': ''}, True),
                (True, (), {'TERM': 'dumb'}, False),
                (True, ('--color=never',), {}, False),
                (False, ('--color=always',), {'NO_COLOR': '1'}, True),
                (True, ('--json',), {}, False)]:
            with self.subTest(terminal=terminal, arguments=arguments, environment=environment):
                self.assertEqual(coloured,
                                 b'\x1b[' in self.output(terminal, arguments, environment))

    @staticmethod
    def output(terminal, arguments, environment):
        reader, writer = pty.openpty() if terminal else os.pipe()
        with tempfile.NamedTemporaryFile() as file:
            file.write(descriptor('ORDER'))
            file.flush()
            with subprocess.Popen([ZEBDUMP, *arguments, file.name], stdout=writer,
                                  env={**ENVIRONMENT, 'TERM': 'xterm', **environment}) as process:
                os.close(writer)
                output = b''
                while True:
                    try:
                        block = os.read(reader, 65536)
                    except OSError:  # a terminal ends so
                        block = b''
                    if not block:
                        break
                    output += block
                os.close(reader)
                assert process.wait(60) == 0 and output
        return output


if __name__ == '__main__':
    unittest.main(argv=sys.argv[:1])
