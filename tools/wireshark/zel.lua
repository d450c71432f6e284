-- Lets Wireshark and tshark read the two protocols of digital pens: the rendezvous protocol (port 3715), in which the pen
-- service announces pens, and the pen service protocol (PSP), which is used on the ports that the announcements name.
--
--   tshark -X lua_script:zel.lua -i lo -f 'tcp' -Y 'zelrv or zelpsp'
--
-- The ports are learnt from the announcements, so a capture must contain them. If it does not, name the port with
-- -d tcp.port==PORT,zelpsp. docs/wireshark.md has examples.

local RENDEZVOUS_PORT = 3715
local DEEPEST_NESTING = 256
local MOST_TREE_ITEMS = 2000 -- for one message; nobody reads a list of thousands of pages
local LONGEST_MESSAGE = 64 * 1024 -- of the rendezvous protocol; a longer text without NUL is another protocol

local rendezvous = Proto("zelrv", "Pen Rendezvous Protocol")
local psp = Proto("zelpsp", "Pen Service Protocol")

local rv = {
    kind = ProtoField.string("zelrv.kind", "Message"),
    text = ProtoField.string("zelrv.text", "Text"),
    id = ProtoField.uint64("zelrv.pen_id", "Pen id", base.HEX),
    serial = ProtoField.string("zelrv.serial", "Serial"),
    port = ProtoField.uint16("zelrv.service_port", "Service port"),
    brand = ProtoField.string("zelrv.brand", "Brand"),
    version = ProtoField.uint32("zelrv.software_version", "Software version", base.HEX),
    vendor = ProtoField.uint16("zelrv.vendor_id", "USB vendor id", base.HEX),
    product = ProtoField.uint16("zelrv.product_id", "USB product id", base.HEX),
    dfu = ProtoField.uint32("zelrv.dfu", "Firmware-upgrade mode"),
    protocol = ProtoField.string("zelrv.protocol", "Accepted protocol"),
}
rendezvous.fields = rv

local f = {
    code = ProtoField.string("zelpsp.instruction", "Instruction"),
    count = ProtoField.uint8("zelpsp.argument_count", "Arguments"),
    index = ProtoField.uint8("zelpsp.argument", "Argument"),
    status = ProtoField.int32("zelpsp.status", "Status"),
    type = ProtoField.string("zelpsp.type", "Type"),
    number = ProtoField.int64("zelpsp.number", "Number"),
    text = ProtoField.string("zelpsp.text", "Text"),
    bytes = ProtoField.bytes("zelpsp.bytes", "Bytes"),
    length = ProtoField.uint32("zelpsp.length", "Length"),
    elements = ProtoField.uint32("zelpsp.elements", "Elements"),
    property = ProtoField.string("zelpsp.property", "Property"),
    address = ProtoField.string("zelpsp.address", "Page address"),
    request_in = ProtoField.framenum("zelpsp.request_in", "Request in", base.NONE, frametype.REQUEST),
    response_in = ProtoField.framenum("zelpsp.response_in", "Response in", base.NONE, frametype.RESPONSE),
    time = ProtoField.relative_time("zelpsp.time", "Time"),
}
psp.fields = f

local malformed = ProtoExpert.new("zelpsp.malformed", "Malformed", expert.group.MALFORMED, expert.severity.ERROR)
local refused = ProtoExpert.new("zelpsp.refused", "Refused by the pen", expert.group.RESPONSE_CODE, expert.severity.WARN)
psp.experts = { malformed, refused }
local rv_malformed = ProtoExpert.new("zelrv.malformed", "Malformed", expert.group.MALFORMED, expert.severity.ERROR)
rendezvous.experts = { rv_malformed }

local INSTRUCTIONS = {
    R1GP = "get property", R1SP = "set property", U0PI = "list pages", U0YB = "begin sync session",
    U0PG = "get page", U0PY = "get stylo pages", U0YE = "end sync session", R2SM = "set displayed state",
    U0PR = "remove page", R1DS = "clear strokes", R1GL = "get lock status", R1UL = "unlock",
    R1PS = "set password", R1GT = "get password hint", R1ST = "set password hint",
    U0HE = "has encrypted data", U0PE = "get encrypted data", U0DE = "clear encrypted data",
    V000 = "detach", V001 = "detach boot loader", V002 = "get functional descriptor", V003 = "download block",
    V005 = "get upgrade status", V006 = "clear upgrade status", V007 = "abort upgrade", V008 = "get upgrade state",
    V009 = "reset port",
}

local ANSWERS_WITH_PAGES = { U0PI = "answer with pages", U0PY = "answer with pages" }

local STATUSES = {
    [-9001] = "unknown instruction", [-9002] = "connection lost", [-9003] = "pen is locked",
    [-4013] = "property refused",
}

local PROPERTIES = {
    [0x0000] = "PEN_ID", [0x0001] = "PEN_SOFTWARE_VERSION", [0x0003] = "PEN_FREE_MEMORY",
    [0x000e] = "BATTERY_LEVEL_VERBOSE", [0x0010] = "PEN_REVISIONS", [0x001a] = "PEN_PROPERTIES_RANGE",
    [0x001f] = "DAS_DIFF", [0x0021] = "SYSTEM_TIME", [0x0022] = "PGC_VERSION", [0x0023] = "MANUFACTURER_DATA",
    [0x0024] = "PEN_BRAND", [0x002a] = "SEC_SDE", [0x2009] = "PEN_OWNER_LOCALE", [0x200a] = "PEN_OWNER_VCARD",
    [0x200b] = "PEN_OWNER_EMAIL", [0x200c] = "PEN_OWNER_CELL_PHONE", [0x2021] = "PEN_TIME",
    [0x202a] = "AUTO_POWER_OFF", [0x202e] = "BT_ENABLED", [0x2203] = "BT_PIN", [0x2204] = "DISCOVERABLE_ALLOWED",
    [0x2207] = "PEN_WAKE_UP_TIME", [0x2208] = "CERTIFICATE_AUTHENTICATOR", [0x2209] = "CERTIFICATE",
    [0x220a] = "SIGNING_KEY",
}

local TYPES = {
    [0] = "null", "bool", "byte", "short16", "int32", "long64", "string", "binary", "value array", "data array",
    "terminated array", "terminator", [14] = "escaped binary", [15] = "any type",
}
local NUMBER_WIDTHS = { [1] = 1, [2] = 1, [3] = 2, [4] = 4, [5] = 8 }

-- ---- Text forms ---------------------------------------------------------------------------------------------------

local DIGITS = "ABCDEFGHJKMNPQRSTUWXYZ23456789"

-- The last digits of a number, most significant first.
local function in_digits(number, width)
    local text = ""
    for _ = 1, width do
        local digit = (number % UInt64(30)):tonumber()
        text = DIGITS:sub(digit + 1, digit + 1) .. text
        number = number / UInt64(30)
    end
    return text
end

-- A half of the identity is read as a signed 32-bit number and widened.
local function widened(half)
    if half >= 0x80000000 then
        return UInt64(half, 0xffffffff)
    end
    return UInt64(half, 0)
end

local function serial_text(id)
    local high, low = id:higher(), id:lower()
    if high == 0xffffffff and low == 0xffffffff then
        return "INVALID-PEN-ID"
    end
    local middle = in_digits(widened(low), 6)
    local check = (id % UInt64(877)):tonumber()
    return string.format("%s-%s-%s-%s", in_digits(widened(high), 3), middle:sub(1, 3), middle:sub(4),
        in_digits(UInt64(check), 2))
end

local function field_text(value, missing)
    return value == missing and "*" or tostring(value)
end

local function address_text(high, low)
    local one = bit32.rshift(high, 20)
    local two = bit32.band(bit32.rshift(high, 8), 0xfff)
    local three = bit32.bor(bit32.lshift(bit32.band(high, 0xff), 8), bit32.rshift(low, 24))
    local four = bit32.band(bit32.rshift(low, 12), 0xfff)
    local five = bit32.band(low, 0xfff)
    local text = string.format("%s.%s.%s.%s", field_text(two, 0xfff), field_text(three, 0xffff),
        field_text(four, 0xfff), field_text(five, 0xfff))
    return one == 0 and text or field_text(one, 0xfff) .. "." .. text
end

local function instruction_text(code)
    local name = INSTRUCTIONS[code]
    return name and string.format("%s (%s)", code, name) or code
end

-- ---- Values -------------------------------------------------------------------------------------------------------

-- A value is scanned before anything is shown, because it may be incomplete until more segments arrive. The scan returns
-- the offset after the value; or nil and the least number of bytes that are missing; or nil and why the value is invalid.

local scan_value

local function need(tvb, offset, count)
    local missing = offset + count - tvb:len()
    return missing <= 0, missing
end

local function scan_elements(tvb, offset, depth, type)
    local enough, missing = need(tvb, offset, 2)
    if not enough then return nil, missing end
    local count = tvb(offset, 2):uint()
    offset = offset + 2
    local element_type
    if type == 9 then
        enough, missing = need(tvb, offset, 1)
        if not enough then return nil, missing end
        element_type = tvb(offset, 1):uint()
        offset = offset + 1
        if count > 0 and (element_type == 0 or element_type == 11 or element_type == 15) then
            return offset -- however many elements there are, they take no bytes
        end
        if not TYPES[element_type] then return nil, nil, "unknown type " .. element_type end
    end
    for _ = 1, count do
        local behind, short, why = scan_value(tvb, offset, depth, element_type)
        if not behind then return nil, short, why end
        offset = behind
    end
    return offset
end

local function scan_escaped(tvb, offset)
    while offset < tvb:len() do
        local byte = tvb(offset, 1):uint()
        offset = offset + 1
        if byte == 0xc0 then return offset end
        if byte == 0xdb then
            if offset >= tvb:len() then return nil, 1 end
            byte = tvb(offset, 1):uint()
            if byte ~= 0xdc and byte ~= 0xdd then return nil, nil, "bad escape" end
            offset = offset + 1
        end
    end
    return nil, 1
end

scan_value = function(tvb, offset, depth, type)
    local enough, missing
    if not type then
        enough, missing = need(tvb, offset, 1)
        if not enough then return nil, missing end
        type = tvb(offset, 1):uint()
        offset = offset + 1
    end
    if not TYPES[type] then return nil, nil, "unknown type " .. type end
    local width = NUMBER_WIDTHS[type]
    if width then
        enough, missing = need(tvb, offset, width)
        if not enough then return nil, missing end
        return offset + width
    end
    if type == 6 or type == 7 then
        local prefix = type == 6 and 2 or 4
        enough, missing = need(tvb, offset, prefix)
        if not enough then return nil, missing end
        local length = tvb(offset, prefix):uint()
        if length >= 0x80000000 then return nil, nil, "a length of 2 GiB or more" end
        enough, missing = need(tvb, offset, prefix + length)
        if not enough then return nil, missing end
        return offset + prefix + length
    end
    if type == 14 then return scan_escaped(tvb, offset) end
    if type == 8 or type == 9 or type == 10 then
        if depth >= DEEPEST_NESTING then return nil, nil, "arrays nested more than 256 deep" end
        if type ~= 10 then return scan_elements(tvb, offset, depth + 1, type) end
        while true do
            enough, missing = need(tvb, offset, 1)
            if not enough then return nil, missing end
            local element_type = tvb(offset, 1):uint()
            if element_type == 11 or element_type == 15 then return offset + 1 end
            local behind, short, why = scan_value(tvb, offset, depth + 1)
            if not behind then return nil, short, why end
            offset = behind
        end
    end
    return offset
end

-- Shows a value that was scanned before. context says what its numbers mean; items counts the tree items added so far.

local show_value

local function number_of(tvb, offset, width)
    return tvb(offset, width):int64()
end

local function show_number(tvb, offset, type, tree, label, context)
    local width = NUMBER_WIDTHS[type]
    local range = tvb(offset, width)
    if context == "property" and type == 3 then
        local id = range:uint()
        local name = PROPERTIES[id] or "unnamed"
        tree:add(f.property, range, name, string.format("%s: property 0x%04x (%s)", label, id, name))
    elseif context == "address" and type == 5 then
        local text = address_text(range(0, 4):uint(), range(4, 4):uint())
        tree:add(f.address, range, text, string.format("%s: page %s", label, text))
    elseif type == 1 then
        tree:add(f.number, range, Int64(range:uint() ~= 0 and 1 or 0),
            string.format("%s: %s", label, range:uint() ~= 0 and "true" or "false"))
    else
        local number = type == 2 and Int64(range:uint()) or number_of(tvb, offset, width)
        tree:add(f.number, range, number, string.format("%s: %s %s", label, TYPES[type], tostring(number)))
    end
    return offset + width
end

local function show_run(tvb, offset, type, tree, label)
    local prefix = type == 6 and 2 or 4
    local length = tvb(offset, prefix):uint()
    if type == 6 then
        local text = length > 0 and tvb(offset + 2, length):string():match("^%Z*") or ""
        tree:add(f.text, tvb(offset, 2 + length), text, string.format("%s: string \"%s\"", label, text))
    else
        local item = tree:add(f.length, tvb(offset, 4), length,
            string.format("%s: binary of %d %s", label, length, length == 1 and "byte" or "bytes"))
        if length > 0 then item:add(f.bytes, tvb(offset + 4, length)) end
    end
    return offset + prefix + length
end

-- What the elements of an array mean: in the answer to a list of pages, element 1 holds pages, and a page begins with its
-- address.
local function inner_context(context, index)
    if context == "answer with pages" then return index == 1 and "pages" or nil end
    if context == "pages" then return "page" end
    return context == "page" and index == 0 and "address" or nil
end

local function show_array(tvb, offset, type, tree, label, context, items)
    local start = offset
    local item = tree:add(f.type, tvb(offset, 0), TYPES[type])
    local element_type
    local count
    if type ~= 10 then
        count = tvb(offset, 2):uint()
        offset = offset + 2
        if type == 9 then
            element_type = tvb(offset, 1):uint()
            offset = offset + 1
        end
    end
    local shown = 0
    while count == nil or shown < count do
        if type == 10 then
            local next_type = tvb(offset, 1):uint()
            if next_type == 11 or next_type == 15 then
                offset = offset + 1
                break
            end
        end
        if element_type == 0 or element_type == 11 or element_type == 15 then -- they take no bytes
            shown = count
            break
        end
        offset = show_value(tvb, offset, item, tostring(shown), inner_context(context, shown), items, element_type)
        shown = shown + 1
    end
    item:set_text(string.format("%s: %s of %d", label, TYPES[type], shown))
    item:set_len(offset - start)
    return offset
end

show_value = function(tvb, offset, tree, label, context, items, type)
    items.count = items.count + 1
    if not type then
        type = tvb(offset, 1):uint()
        offset = offset + 1
    end
    if items.count > MOST_TREE_ITEMS then
        if items.count == MOST_TREE_ITEMS + 1 then tree:add(psp, tvb(offset, 0), "further values are not shown") end
        return (scan_value(tvb, offset, 0, type))
    end
    if NUMBER_WIDTHS[type] then return show_number(tvb, offset, type, tree, label, context) end
    if type == 6 or type == 7 then return show_run(tvb, offset, type, tree, label) end
    if type == 8 or type == 9 or type == 10 then return show_array(tvb, offset, type, tree, label, context, items) end
    if type == 14 then
        local behind = scan_escaped(tvb, offset)
        tree:add(f.bytes, tvb(offset, behind - offset)):set_text(
            string.format("%s: escaped binary, %d bytes as sent", label, behind - offset))
        return behind
    end
    tree:add(f.type, tvb(offset, 0), TYPES[type], string.format("%s: %s", label, TYPES[type]))
    return offset
end

-- ---- Requests and responses of PSP --------------------------------------------------------------------------------

local stream_field = Field.new("tcp.stream")
local streams = {} -- for each TCP stream: the requests without a response yet, and whether the stream is invalid
local exchanges = {} -- which request and response belong together, by frame and offset

local function stream_state()
    local number = stream_field()
    local key = number and number.value or 0
    streams[key] = streams[key] or { waiting = {} }
    return streams[key]
end

local function message_key(pinfo, offset, tvb)
    return string.format("%d:%d:%d", pinfo.number, tvb:offset(), offset)
end

local function scan_request(tvb, offset)
    local enough, missing = need(tvb, offset, 5)
    if not enough then return nil, missing end
    for i = 0, 3 do
        local byte = tvb(offset + i, 1):uint()
        if byte < 0x30 or byte > 0x5a then return nil, nil, "not an instruction" end
    end
    local count = tvb(offset + 4, 1):uint()
    offset = offset + 5
    for _ = 1, count do
        enough, missing = need(tvb, offset, 1)
        if not enough then return nil, missing end
        local behind, short, why = scan_value(tvb, offset + 1, 0)
        if not behind then return nil, short, why end
        offset = behind
    end
    return offset
end

local function argument_context(code, index)
    if index ~= 0 then return nil end
    if code == "R1GP" or code == "R1SP" then return "property" end
    if code == "U0PG" or code == "U0PR" then return "address" end
    return nil
end

local function show_request(tvb, offset, behind, pinfo, tree)
    local code = tvb(offset, 4):string()
    local item = tree:add(psp, tvb(offset, behind - offset), "Pen Service Protocol, request " .. instruction_text(code))
    item:add(f.code, tvb(offset, 4), instruction_text(code))
    item:add(f.count, tvb(offset + 4, 1))
    local items = { count = 0 }
    local at = offset + 5
    for _ = 1, tvb(offset + 4, 1):uint() do
        local index = tvb(at, 1):uint()
        item:add(f.index, tvb(at, 1)):set_hidden()
        at = show_value(tvb, at + 1, item, "argument " .. index, argument_context(code, index), items)
    end
    local key = message_key(pinfo, offset, tvb)
    local exchange = exchanges[key]
    if not exchange then
        exchange = { code = code, request = pinfo.number, sent = pinfo.abs_ts }
        exchanges[key] = exchange
        table.insert(stream_state().waiting, exchange)
    end
    if exchange.response then item:add(f.response_in, exchange.response):set_generated() end
    return instruction_text(code)
end

local function status_of(tvb, offset)
    local type = tvb(offset, 1):uint()
    if type == 8 or type == 10 then
        local first = type == 8 and offset + 3 or offset + 1
        if (type == 10 or tvb(offset + 1, 2):uint() > 0) and tvb(first, 1):uint() == 4 then return tvb(first + 1, 4) end
    elseif type == 9 and tvb(offset + 1, 2):uint() > 0 and tvb(offset + 3, 1):uint() == 4 then
        return tvb(offset + 4, 4)
    end
    return nil
end

local function show_response(tvb, offset, behind, pinfo, tree)
    local key = message_key(pinfo, offset, tvb)
    local exchange = exchanges[key]
    if not exchange then
        exchange = table.remove(stream_state().waiting, 1) or { code = "?" }
        exchange.response = pinfo.number
        exchange.answered = pinfo.abs_ts
        exchanges[key] = exchange
    end
    local range = tvb(offset, behind - offset)
    local item = tree:add(psp, range, "Pen Service Protocol, response to " .. instruction_text(exchange.code))
    local status = status_of(tvb, offset)
    local words = "no status"
    if status then
        local number = status:int()
        words = number >= 0 and "ok" or STATUSES[number] or "refused"
        local shown = item:add(f.status, status)
        shown:append_text(" (" .. words .. ")")
        if number < 0 then shown:add_proto_expert_info(refused, string.format("%d, %s", number, words)) end
    else
        item:add_proto_expert_info(malformed, "The response is no array that begins with a status")
    end
    show_value(tvb, offset, item, "value", ANSWERS_WITH_PAGES[exchange.code], { count = 0 })
    if exchange.request then
        item:add(f.request_in, exchange.request):set_generated()
        local seconds = exchange.answered - exchange.sent
        item:add(f.time, NSTime(math.floor(seconds), math.floor((seconds % 1) * 1e9 + 0.5))):set_generated()
    end
    return string.format("%s: %s", instruction_text(exchange.code), words)
end

-- Shows every complete message of a segment. For an incomplete one it asks Wireshark for more bytes.
local function dissect_stream(tvb, pinfo, tree, scan, show, proto)
    local offset = 0
    local told = {}
    while offset < tvb:len() do
        local behind, missing, why = scan(tvb, offset)
        if why then
            local item = tree:add(proto, tvb(offset), proto.description .. ", bytes that make no sense")
            item:add_proto_expert_info(proto == psp and malformed or rv_malformed, why)
            table.insert(told, "malformed: " .. why)
            offset = tvb:len()
        elseif not behind then
            pinfo.desegment_offset = offset
            -- If just one byte is known to be missing, more may follow that byte; so any further segment will do.
            pinfo.desegment_len = missing > 1 and missing or DESEGMENT_ONE_MORE_SEGMENT
            break
        else
            table.insert(told, show(tvb, offset, behind, pinfo, tree))
            offset = behind
        end
    end
    if #told > 0 then pinfo.cols.info = table.concat(told, ", ") end
    return tvb:len()
end

function psp.init()
    streams = {}
    exchanges = {}
end

function psp.dissector(tvb, pinfo, tree)
    pinfo.cols.protocol = "ZEL-PSP"
    if pinfo.match_uint == pinfo.dst_port then
        return dissect_stream(tvb, pinfo, tree, scan_request, show_request, psp)
    end
    local function scan(range, offset) return scan_value(range, offset, 0) end
    return dissect_stream(tvb, pinfo, tree, scan, show_response, psp)
end

-- ---- The rendezvous protocol --------------------------------------------------------------------------------------

local function scan_message(tvb, offset)
    for at = offset, tvb:len() - 1 do
        if tvb(at, 1):uint() == 0 then return at + 1 end
    end
    if tvb:len() - offset > LONGEST_MESSAGE then return nil, nil, "no NUL within 64 KiB" end
    return nil, 1
end

-- In pen messages a value begins directly after its key and one "="; numbers are hexadecimal unless said otherwise.
local function value_of(text, key, pattern)
    local _, last = text:find(key, 1, true)
    if not last then return nil end
    return text:sub(last + 2):match("^%s*" .. pattern)
end

local function hexadecimal(text, key)
    local digits = value_of(text, key, "0?[xX]?(%x+)")
    return digits and #digits <= 16 and UInt64.fromhex(digits) or nil
end

local function add_number(tree, field, range, number)
    if number then tree:add(field, range, number:lower()) end
end

local function show_pen(text, range, pinfo, tree)
    local id = hexadecimal(text, "pen-id")
    local serial
    if id then
        serial = serial_text(id)
        tree:add(rv.id, range, id)
        tree:add(rv.serial, range, serial)
    end
    local port = tonumber(text:match("service%-port=%s*(%d+)") or "")
    if port and port > 0 and port < 65536 then
        tree:add(rv.port, range, port)
        DissectorTable.get("tcp.port"):add(port, psp)
    end
    local brand = text:match("pen%-brand=([^\r]*)\r")
    if brand then tree:add(rv.brand, range, brand) end
    add_number(tree, rv.version, range, hexadecimal(text, "pen-swver"))
    local vendor, product = hexadecimal(text, "pen-vid"), hexadecimal(text, "pen-pid")
    if vendor then tree:add(rv.vendor, range, bit32.band(vendor:lower(), 0xffff)) end
    if product then tree:add(rv.product, range, bit32.band(product:lower(), 0xffff)) end
    local dfu = tonumber(value_of(text, "pen-dfu", "(%d+)") or "")
    if dfu and dfu < 0x100000000 then tree:add(rv.dfu, range, dfu) end
    for protocol in text:lower():gmatch("acc%-prot[^=]*=([^\r]*)\r") do
        tree:add(rv.protocol, range, protocol)
    end
    return serial
end

local function kind_of(text, from_server)
    if not from_server then
        if text:find("subscribe=DVP", 1, true) then return "subscribe, firmware-upgrade mode" end
        if text:find("subscribe=", 1, true) then return "subscribe" end
        if text == "LIST" then return "list request" end
        return "unknown request"
    end
    if text:find("ENDLIST", 1, true) then return "end of list" end
    if not (text:find("RVP1", 1, true) or text:find("DVP1", 1, true)) then return "unknown message" end
    if text:find("DISCONNECT", 1, true) then return "pen left" end
    if text:find("CONNECT", 1, true) then return "pen arrived" end
    return "pen present"
end

local function show_message(tvb, offset, behind, pinfo, tree)
    local range = tvb(offset, behind - offset)
    local text = behind - offset > 1 and tvb(offset, behind - offset - 1):string() or ""
    local kind = kind_of(text, pinfo.src_port == pinfo.match_uint)
    local item = tree:add(rendezvous, range, "Pen Rendezvous Protocol, " .. kind)
    item:add(rv.kind, range, kind)
    if text ~= "" then item:add(rv.text, range, text) end
    local serial = kind:find("^pen ") and show_pen(text, range, pinfo, item)
    if kind:find("^unknown") then item:add_proto_expert_info(rv_malformed, kind) end
    return serial and kind .. " " .. serial or kind
end

function rendezvous.dissector(tvb, pinfo, tree)
    pinfo.cols.protocol = "ZEL-RV"
    return dissect_stream(tvb, pinfo, tree, scan_message, show_message, rendezvous)
end

DissectorTable.get("tcp.port"):add(RENDEZVOUS_PORT, rendezvous)
DissectorTable.get("tcp.port"):add_for_decode_as(psp)
