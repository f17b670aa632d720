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


def run(*arguments, given=b'', **how):
    how = {'stdout': subprocess.PIPE, 'env': ENVIRONMENT, **how}
    return subprocess.run([ZEBDUMP, *arguments], input=given, stderr=subprocess.PIPE, timeout=60,
                          check=False, **how)


def lay(*values):
    """Numbers as words, texts and bytes as they are."""
    return b''.join(struct.pack('<i', value) if isinstance(value, int)
                    else value.encode() if isinstance(value, str) else value for value in values)


def description(form, encoding=546, character_set=0):
    return lay(encoding, character_set, form.ljust(8))


def descriptor(*described):
    """The defaults of a new message's descriptor, and this description."""
    return lay('MD  ', 2, 0, 8, -1, 0, description(*described), -1, 2, bytes(300), 1, 0, 0, -1)


def dead_letter(*follows, queue=''):
    return lay('DLH ', 1, 0, queue.ljust(48, '\0'), bytes(48), description(*follows), bytes(48))


def tpmx(*follows, version=2, transaction=''):
    length = 164 if version == 1 else 180
    return lay('TIH ', version, length, description(*follows), 0, 0, 0, 0, 273, -2, 1, -1, 0, 0, 0,
               0, bytes(8), ' ' * 40, transaction.ljust(4), ' ' * 36, bytes(16))[:length]


def hsx(*follows):
    return lay('HIH ', 1, 84, description(*follows), 0, ' ' * 32, bytes(16), ' 0C ')


def work(*follows, service='', token=bytes(16)):
    return lay('WIH ', 1, 120, description(*follows), 0, service.ljust(32), ' ' * 8, token,
               bytes(32))


def reference(*follows, parts=(b'', b'', b'', b''), length=None, places=None):
    ends = list(itertools.accumulate(map(len, parts), initial=108))
    words = places or [word for part, begin in zip(parts, ends) for word in (len(part), begin)]
    return lay('RMH ', 1, ends[-1] if length is None else length, description(*follows), 1,
               bytes(32), *words, bytes(12), *parts)


def trigger(queue=''):
    return lay('TM  ', 1, queue.ljust(48, '\0'), bytes(628))


PARTS = (b'ab', b'cde', b'', b'f')
ORDER = b'7 umbrellas.'
CHAIN = (descriptor('ZBDEAD') + dead_letter('ZBTPMX', 546, 0, queue='ORDERS.EUROPE')
         + tpmx('ZBHSX', transaction='PAY1') + hsx('ZBHWIH') + work('ZBHREF', service='SHOP')
         + reference('ORDER', 273, 500, parts=PARTS) + ORDER)
DEAD = descriptor('ZBDEAD') + dead_letter('ORDER') + ORDER


def fields(shown):
    """Those of the JSON form, by record and name, in their order."""
    return {(record['record'], field['name']): field
            for record in shown['records'] for field in record['fields']}


class Case(unittest.TestCase):
    def output(self, *arguments, given):
        """Of a run that goes well."""
        result = run(*arguments, given=given)
        self.assertEqual((0, b''), (result.returncode, result.stderr))
        return result.stdout

    def expect_failure(self, status, words, *arguments, given=b''):
        with self.subTest(arguments=arguments, given=given[:600]):
            result = run(*arguments, given=given)
            self.assertEqual((status, b''), (result.returncode, result.stdout))
            self.assertRegex(result.stderr.decode(), re.escape(words) or '.')


class Showing(Case):
    def test_every_header_of_a_chain(self):
        shown = json.loads(self.output('--json', given=CHAIN))
        self.assertEqual([('ZBMD', 0), ('ZBDLH', 364), ('ZBTIH', 536), ('ZBHIH', 716),
                          ('ZBWIH', 800), ('ZBRMH', 920)],
                         [(record['record'], record['at']) for record in shown['records']])
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
            field = fields(shown)[record, name]
            self.assertEqual((name, offset, value), (name, field['offset'], field['value']))
        self.assertEqual([('sourceEnvironment', 108, 'ab'), ('sourceName', 110, 'cde'),
                          ('destinationName', 113, 'f')],
                         [(text['name'], text['offset'], text['text'])
                          for text in shown['records'][-1]['texts']])
        self.assertEqual((1034, 'ORDER   ', 273, 500, ORDER.hex()),
                         tuple(shown['data'][name]
                               for name in ('at', 'format', 'encoding', 'characterSet', 'hex')))

    def test_text_form_has_offset_name_and_value(self):
        for pattern in [r'ZBDLH +dead letter header, at 364, 172 bytes',
                        r' +12 +destinationQueueName +"ORDERS.EUROPE" \+ 35 zero bytes',
                        r' +116 +format +"ZBTPMX" \+ 2 blanks',
                        r' +72 +messageToken +' + '00' * 16,
                        r' +48 +getWaitInterval +-2',
                        r' +110 +sourceName +"cde"',
                        r' +0000040a +37 20 75 6d 62 72 65 6c 6c 61 73 2e +7 umbrellas\.']:
            self.assertRegex(self.output(given=CHAIN).decode(), f'(?m)^{pattern}$')

    def test_what_is_no_header(self):
        cases = [('ZBTRIG', trigger('Q') + b'more', 'behind trigger', 684, b'more'),
                 ('ZBTRIG', trigger('Q'), 'behind trigger', 684, b''),
                 ('ZBSTR', b'a text', 'text', 0, b'a text'),
                 ('', b'\0\1\2', 'bytes', 0, b'\0\1\2'),
                 ('ORDER', b'', 'application', 0, b''),
                 ('ZBTPMX', tpmx('ORDER', version=1) + ORDER, 'application', 164, ORDER)]
        for form, data, kind, at, rest in cases:
            for base, arguments, given in [(0, ('--format', form), data),
                                           (364, (), descriptor(form) + data)]:
                shown = json.loads(self.output('--json', *arguments, given=given))['data']
                self.assertEqual((kind, at + base, rest.hex()),
                                 (shown['kind'], shown['at'], shown['hex']))

    def test_a_file_and_standard_input_are_shown_alike(self):
        with tempfile.NamedTemporaryFile() as file:
            file.write(CHAIN)
            file.flush()
            self.assertEqual(self.output(given=CHAIN), self.output(file.name, given=b''))
        self.assertEqual(self.output(given=CHAIN), self.output('-', given=CHAIN))

    def test_long_data_are_cut_unless_all_is_asked_for(self):
        data = bytes(range(256)) * 20
        for arguments, shown in [((), 4096), (('--all',), 5120)]:
            arguments = ('--format', 'ORDER', *arguments)
            text = self.output(*arguments, given=data)
            self.assertEqual((shown // 16, shown < 5120),
                             (len(re.findall(rb'(?m)^  [0-9a-f]{8} ', text)),
                              b'1024 bytes more' in text))
            seen = json.loads(self.output('--json', *arguments, given=data))['data']
            self.assertEqual((5120, shown, data[:shown].hex()),
                             (seen['length'], seen['shown'], seen['hex']))

    def test_nothing_of_a_message_reaches_the_terminal_as_a_command(self):
        evil = '\x1b]0;x\x07\x7f"'
        output = self.output(given=descriptor('ZBDEAD') + dead_letter('\x1b[2J', queue=evil)
                             + evil.encode() + b'\x9b\xff')
        self.assertNotRegex(output, rb'[^\n -~]')
        self.assertIn(rb'"\x1b]0;x\x07\x7f\""', output)

    def test_json_keeps_every_byte(self):
        queue = bytes(range(1, 32)) + bytes([127, 128, 200, 255])
        record = dead_letter('ORDER')
        record = record[:12] + queue.ljust(48, b'\0') + record[60:]
        shown = json.loads(self.output('--json', '--format', 'ZBDEAD', given=record))
        field = fields(shown)['ZBDLH', 'destinationQueueName']
        self.assertEqual((queue.decode('latin-1'), queue.hex() + '00' * 13),
                         (field['value'], field['hex']))


STRUCTURE_ID, ENCODING, DATA, LENGTH, NOT_AUTOMATIC, VERSION, FORMAT = (
    '6107 ZBRC_STRUCTURE_ID_ERROR', '6106 ZBRC_ENCODING_ERROR', '6114 ZBRC_INSUFFICIENT_DATA',
    '6123 ZBRC_STRUCTURE_LENGTH_ERROR', '6112 ZBRC_BUFFER_NOT_AUTOMATIC',
    '6128 ZBRC_WRONG_VERSION', '6119 ZBRC_INCONSISTENT_FORMAT')
# The last fields of records that are shown whole.
MD, DLH, TIH, HIH, RMH = (
    ('ZBMD', 'descriptorWord360'), ('ZBDLH', 'putTime'), ('ZBTIH', 'spareText5'),
    ('ZBHIH', 'tailByte4'), ('ZBRMH', 'tailWord3'))


def referring(**how):
    return descriptor('ZBHREF') + reference('ORDER', **how)


def bridged(*follows, **how):
    return descriptor('ZBTPMX') + tpmx(*follows, **how)


# What is wrong, the input, the first byte refused, the code, and the last field still shown.
DAMAGED = [
    ('nothing at all', b'', 0, DATA, None),
    ('a descriptor cut in its id', DEAD[:3], 3, DATA, ('ZBMD', 'structureId')),
    ('a descriptor cut in a field', DEAD[:102], 102, DATA, ('ZBMD', 'replyToQueueName')),
    ('no descriptor', b'MDX ' + DEAD[4:], 2, STRUCTURE_ID, MD),
    ('no data', DEAD[:364], 364, STRUCTURE_ID, MD),
    ('less than an id', DEAD[:367], 367, STRUCTURE_ID, ('ZBDLH', 'structureId')),
    ('another id', DEAD[:365] + b'X' + DEAD[366:], 365, STRUCTURE_ID, DLH),
    ('a cut header', DEAD[:535], 535, DATA, DLH),
    ('cut between fields', DEAD[:472], 472, DATA, ('ZBDLH', 'destinationQueueManagerName')),
    ('encoding 273', descriptor('ZBDEAD', 273) + DEAD[364:], 24, ENCODING, DLH),
    ('a high byte of 546', descriptor('ZBDEAD', 0x01000222) + DEAD[364:], 27, ENCODING, DLH),
    ('encoding in a header', descriptor('ZBDEAD') + dead_letter('ZBHSX', 0x0322) + hsx('ORDER'),
     364 + 108 + 1, ENCODING, HIH),
    ('the second header', descriptor('ZBDEAD') + dead_letter('ZBHWIH') + work('ORDER')[:50],
     364 + 172 + 50, DATA, ('ZBWIH', 'serviceName')),
    ('version 3', bridged('ORDER', version=3), 368, VERSION, TIH),
    ('version 257', bridged('ORDER', version=257), 369, VERSION, TIH),
    ('version 258', bridged('ORDER', version=258), 369, VERSION, TIH),
    ('version 2 with the bytes of 1', bridged('ORDER')[:528], 528, DATA, TIH),
    ('an id and no version', bridged('ORDER')[:369], 369, DATA, ('ZBTIH', 'version')),
    ('a cut reference', referring()[:400], 400, DATA, ('ZBRMH', 'referenceType')),
    ('cut in a text', referring(parts=PARTS)[:-2], 364 + 112, DATA, RMH),
    ('a text before its record', referring(places=[1, -1] + [0] * 6), 364 + 68, DATA, RMH),
    ('a text far behind', referring(places=[0, 0] + 2 * [2**31 - 1] + 4 * [0]), 364 + 76, DATA,
     RMH),
    ('a text too long', referring(places=[0] * 6 + [9, 100]), 364 + 88, DATA, RMH),
    ('shorter than its texts', referring(parts=PARTS, length=113), 364 + 8, LENGTH, RMH),
    ('shorter than its fixed part', referring(length=107), 364 + 8, LENGTH, RMH),
    ('longer than the data', referring(length=2**31 - 1), 364 + 108, NOT_AUTOMATIC, RMH),
    ('a cut trigger', descriptor('ZBTRIG') + trigger()[:600], 964, DATA, ('ZBTM', 'userData')),
]


class Refusing(Case):
    def test_damaged_messages(self):
        for what, data, at, code, last in DAMAGED:
            with self.subTest(what=what):
                result = run('--json', given=data)
                shown = json.loads(result.stdout)
                refused = shown['refused']
                self.assertEqual((1, at, code, 2),
                                 (result.returncode, refused['at'],
                                  f'{refused["reasonCode"]} {refused["name"]}',
                                  refused['completionCode']))
                self.assertEqual(last, next(reversed(fields(shown)), None))
                words = f'byte {at} refused: {code}'
                self.assertIn(words, result.stderr.decode())

                text = run(given=data)
                self.assertEqual(1, text.returncode)
                self.assertIn(words, text.stdout.decode())
                self.assertEqual(at < len(data),
                                 f'<- byte {at} refused' in text.stdout.decode())

    def test_data_alone(self):
        for data, at, code in [(DEAD[364:400], 36, DATA), (b'DLX', 2, STRUCTURE_ID)]:
            result = run('--format', 'ZBDEAD', given=data)
            self.assertEqual(1, result.returncode)
            self.assertIn(f'byte {at} refused: {code}', result.stderr.decode())

    def test_what_is_not_read_is_shown_as_bytes(self):
        shown = json.loads(run('--json', given=DEAD[:480]).stdout)['data']
        self.assertEqual(('not read', 364, DEAD[364:480].hex()),
                         (shown['kind'], shown['at'], shown['hex']))

    def test_any_bytes_end_in_an_answer(self):
        chance = random.Random(20260501)
        end_of_headers = len(CHAIN) - len(ORDER)
        inputs = [CHAIN[:length] for length in (*range(0, end_of_headers, 37), end_of_headers - 1)]
        inputs += [chance.randbytes(chance.randrange(2000)) for _ in range(15)]
        for _ in range(135):
            data = bytearray(CHAIN[:chance.randrange(364, len(CHAIN) + 1)])
            for _ in range(chance.choice((1, 3, 30))):
                at = 4 * chance.randrange(len(data) // 4)
                data[at:at + 4] = chance.choice((bytes(4), b'\xff' * 4, b'\xff\xff\xff\x7f',
                                                 b'\0\0\0\x80', b'\x6c\0\0\0', chance.randbytes(4)))
            inputs.append(bytes(data))
        for data in inputs:
            with self.subTest(data=data):
                result = run('--json', given=data)
                refused = json.loads(result.stdout)['refused'] is not None
                self.assertEqual(int(refused), result.returncode)
                self.assertEqual(result.returncode, run(given=data).returncode)
                self.assertIn(run('--strip', given=data).returncode, (0, 1))
                self.assertTrue(refused or data != CHAIN[:len(data)] or len(data) >= end_of_headers)


# A header's name, what is set in it, and the record that stands in front then.
FOLLOWS = ('ORDER', 273, 500)
HEADERS = [
    ('dlh', {}, 'ZBDEAD', dead_letter(*FOLLOWS)),
    ('dlh', {'destinationQueueName': 'EUROPE'}, 'ZBDEAD', dead_letter(*FOLLOWS, queue='EUROPE')),
    ('tih', {'transactionIdentifier': 'PAY1'}, 'ZBTPMX', tpmx(*FOLLOWS, transaction='PAY1')),
    ('tih', {'version': '1'}, 'ZBTPMX', tpmx(*FOLLOWS, version=1)),
    ('hih', {}, 'ZBHSX', hsx(*FOLLOWS)),
    ('wih', {'serviceName': 'a=b', 'messageToken': '00ff' * 8}, 'ZBHWIH',
     work(*FOLLOWS, service='a=b', token=b'\0\xff' * 8)),
    ('rfh', {'sourceName': 'cde', 'sourceEnvironment': 'ab', 'destinationName': 'f'}, 'ZBHREF',
     reference(*FOLLOWS, parts=PARTS)),
]


class Rewriting(Case):
    def test_wrap_and_strip(self):
        for (header, values, form, record), data in itertools.product(
                HEADERS, (ORDER, b'', bytes(range(256)) * 5)):
            with self.subTest(header=header, values=values, length=len(data)):
                settings = [part for name, value in values.items()
                            for part in ('--set', f'{name}={value}')]
                message = descriptor(*FOLLOWS) + data
                wrapped = self.output('--wrap', header, *settings, given=message)
                self.assertEqual(descriptor(form) + record + data, wrapped)
                self.assertEqual(message, self.output('--strip', given=wrapped))

    def test_data_alone_say_what_they_are(self):
        for arguments, given, expected, words in [
                (('--wrap', 'hih', '--format', 'ORDER'), ORDER, hsx('ORDER') + ORDER,
                 b'format "ZBHSX   ", encoding 546, character set 0'),
                (('--strip', '--format', 'ZBHSX'), hsx(*FOLLOWS) + ORDER, ORDER,
                 b'format "ORDER   ", encoding 273, character set 500')]:
            result = run(*arguments, given=given)
            self.assertEqual((0, expected), (result.returncode, result.stdout))
            self.assertIn(words, result.stderr)

    def test_one_header_at_a_time(self):
        message = CHAIN
        for follows, length in [(('ZBTPMX',), 172), (('ZBHSX',), 180), (('ZBHWIH',), 84),
                                (('ZBHREF',), 120), (FOLLOWS, 114)]:
            expected = descriptor(*follows) + message[364 + length:]
            message = self.output('--strip', given=message)
            self.assertEqual(expected, message)

    def test_a_record_longer_than_its_texts_goes_whole(self):
        record = reference('ORDER', parts=(b'ab', b'', b'', b''), length=117) + b'between'
        self.assertEqual(descriptor('ORDER') + ORDER,
                         self.output('--strip', given=descriptor('ZBHREF') + record + ORDER))

    def test_nothing_is_written_of_what_is_refused(self):
        for what, data, at, code, _ in DAMAGED:
            if what not in ('encoding in a header', 'the second header', 'a cut trigger'):
                self.expect_failure(1, f'byte {at} refused: {code}', '--strip', given=data)
        for form, data in [('ORDER', ORDER), ('ZBTRIG', trigger()), ('ZBSTR', b'')]:
            self.expect_failure(1, FORMAT, '--strip', given=descriptor(form) + data)
        self.expect_failure(1, f'byte 300 refused: {DATA}', '--wrap', 'dlh', given=DEAD[:300])

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
                ('wih', 'messageToken=' + '0' * 33, '32 hexadecimal'),
                ('wih', 'messageToken=' + '0x' * 16, '32 hexadecimal')]:
            self.expect_failure(2, words, '--wrap', header, '--set', setting, '--format', 'ORDER',
                                given=ORDER)
        self.expect_failure(2, 'twice', '--wrap', 'dlh', '--set', 'putDate=1', '--set', 'putDate=1',
                            '--format', 'ORDER')


class Calling(Case):
    def test_mistakes_in_the_arguments(self):
        for arguments in [('--nothing',), ('--format', 'NINECHARS'), ('--wrap', 'xyz'),
                          ('--set', 'a=b'), ('--strip', '--json'), ('--strip', '--wrap', 'dlh'),
                          ('--wrap', 'dlh', '--json'), ('--color', 'sometimes'), ('a', 'b'),
                          ('/nonexistent/file',), ('/',)]:
            self.expect_failure(2, '', *arguments)

    def test_output_that_cannot_be_written(self):
        with open('/dev/full', 'wb') as full:
            for arguments in [(), ('--json',), ('--strip',)]:
                result = run(*arguments, given=DEAD, stdout=full)
                self.assertEqual(2, result.returncode)
                self.assertIn(b'standard output', result.stderr)

    def test_help_and_manual_tell_of_the_same_options(self):
        self.assertRegex(self.output('--version', given=b''), rb'zebdump \d')
        told = set(re.findall(r'--[a-z]+', self.output('--help', given=b'').decode()))
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
                reader, writer = pty.openpty() if terminal else os.pipe()
                result = run(*arguments, given=descriptor('ORDER'), stdout=writer,
                             env={**ENVIRONMENT, 'TERM': 'xterm', **environment})
                output = os.read(reader, 65536)
                os.close(writer)
                os.close(reader)
                self.assertEqual((0, coloured), (result.returncode, b'\x1b[' in output))


if __name__ == '__main__':
    unittest.main(argv=sys.argv[:1])
