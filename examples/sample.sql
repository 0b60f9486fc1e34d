-- A sample mapping database: sqlite3 sample.db < sample.sql
--
-- The agent takes columns by position and all cells as text. The base of each number is part of the
-- format: "hex" is hexadecimal without prefix, "dec" is decimal. Note that type and access are
-- hexadecimal for scalars and decimal for table cells.
--
--   type       2 INTEGER, 4 OCTET STRING
--   access     1 read-only, 3 read-write
--   valueType  low three digits: how the value is converted; first digit: decimal places
--                0  as it is; a number that is set is multiplied by 10 per decimal place
--                1, 2  four bytes as a dotted IPv4 address
--                3  the agent's local time, whatever the object holds
--                4  number with decimal places, as text
--                B  the low 16 bits of a number
--                others  as it is, also when it is set

CREATE TABLE SNMP_GENERAL_OBJ_TABLE (
    objId     TEXT,  -- hex: the device object
    attr1     TEXT,  -- dec: not used
    magic     TEXT,  -- dec: not used, the agent counts by itself
    asnType   TEXT,  -- hex
    access    TEXT,  -- hex
    oidArc1   TEXT,  -- dec: the scalar is BASE.oidArc1.oidArc2.oidArc3.0
    oidArc2   TEXT,  -- dec
    oidArc3   TEXT,  -- dec
    oidArc4   TEXT,  -- dec: not used
    valueType TEXT,  -- hex
    flag      TEXT,  -- hex: not used
    text      TEXT,  -- for the reader
    attr2     TEXT   -- hex: not used
);

INSERT INTO SNMP_GENERAL_OBJ_TABLE VALUES
-- The shelf
('0110', '0', '0', '2', '1', '1', '1', '1', '0', '0006', '0', 'shelf type',                    '0'),
('0111', '0', '0', '4', '1', '1', '1', '2', '0', '0000', '0', 'serial number',                 '0'),
('0112', '0', '0', '4', '3', '1', '1', '3', '0', '0009', '0', 'contact',                       '0'),
('0113', '0', '0', '4', '3', '1', '1', '4', '0', '0000', '0', 'location',                      '0'),
('0114', '0', '0', '4', '1', '1', '1', '5', '0', '000A', '0', 'software release',              '0'),
('0115', '0', '0', '2', '1', '1', '1', '6', '0', '0008', '0', 'restarts',                      '0'),
('0116', '0', '0', '2', '1', '1', '1', '7', '0', '000C', '0', 'hours in operation',            '0'),
-- Measurements and limits
('0120', '0', '0', '2', '1', '1', '2', '1', '0', '0000', '0', 'air intake, degrees Celsius',   '0'),
('0121', '0', '0', '4', '1', '1', '2', '2', '0', '1004', '0', 'supply, volts',                 '0'),
('0122', '0', '0', '4', '1', '1', '2', '3', '0', '2004', '0', 'received power, dBm',           '0'),
('0123', '0', '0', '4', '3', '1', '2', '4', '0', '1004', '0', 'over-temperature limit',        '0'),
('0124', '0', '0', '2', '3', '1', '2', '5', '0', '1000', '0', 'transmit power, dBm; the device keeps tenths', '0'),
('0125', '0', '0', '2', '3', '1', '2', '6', '0', '0005', '0', 'temperature offset',            '0'),
('0126', '0', '0', '2', '3', '1', '2', '7', '0', '0007', '0', 'measuring interval, seconds',   '0'),
-- Alarms
('0130', '0', '0', '2', '1', '1', '3', '1', '0', '0000', '0', 'alarms since the restart',      '0'),
('0131', '0', '0', '2', '1', '1', '3', '2', '0', '000B', '0', 'errored blocks, 16 bits',       '0'),
-- Management
('0140', '0', '0', '4', '1', '1', '4', '1', '0', '0001', '0', 'management address',            '0'),
('0141', '0', '0', '4', '1', '1', '4', '2', '0', '0002', '0', 'address of the time server',    '0'),
('0142', '0', '0', '4', '1', '1', '4', '3', '0', '0003', '0', 'date and time',                 '0');

CREATE TABLE SNMP_TABLE_OBJ_TABLE (
    objId     TEXT,  -- hex: the device object
    attr1     TEXT,  -- dec: not used
    columnId  TEXT,  -- dec: from 2; column 1 is the row number and needs no cell
    asnType   TEXT,  -- dec
    access    TEXT,  -- dec
    tableNode TEXT,  -- the table is BASE followed by this text
    valueType TEXT,  -- hex
    flag      TEXT,  -- hex: not used
    text      TEXT,  -- for the reader
    instance  TEXT,  -- dec: the row; the cell is BASE.tableNode.1.columnId.instance.0
    tableKind TEXT,  -- dec: not used
    attr2     TEXT,  -- hex: not used
    attr3     TEXT   -- hex: not used
);

-- Every cell has a device object of its own. Here the objects of one column have ids that count up.
WITH RECURSIVE
    slots(row) AS (VALUES (1) UNION ALL SELECT row + 1 FROM slots WHERE row < 8),
    columns(tableNode, columnId, firstId, asnType, access, valueType, text) AS (VALUES
        -- The ports
        ('.2.1', 2, 0x2100, 4, 3, '0000', 'name'),
        ('.2.1', 3, 0x2110, 2, 1, '0000', 'state: 0 down, 1 up'),
        ('.2.1', 4, 0x2120, 4, 1, '1004', 'received power, dBm'),
        ('.2.1', 5, 0x2130, 4, 3, '1004', 'bandwidth, Mbit/s'),
        ('.2.1', 6, 0x2140, 2, 1, '0000', 'errored seconds'),
        -- The fans
        ('.2.2', 2, 0x2200, 4, 1, '0000', 'name'),
        ('.2.2', 3, 0x2210, 2, 1, '0000', 'speed, revolutions per minute'),
        ('.2.2', 4, 0x2220, 2, 3, '0000', 'wanted speed'),
        ('.2.2', 5, 0x2230, 4, 1, '2004', 'current, amperes'))
INSERT INTO SNMP_TABLE_OBJ_TABLE
SELECT printf('%04X', firstId + row - 1), '0', columnId, asnType, access, tableNode, valueType, '0', text,
       row, '0', '0', '0'
FROM columns, slots
ORDER BY tableNode, row, columnId;
